#pragma once

#include <QSplitter>

namespace ferrolt {

/// A splitter between two panes, neither of which can be dragged below its minimum. The divider shows nothing
/// but the background, and can be moved with the arrow keys once it was reached with Tab.
class PaneSplitter : public QSplitter {
    Q_OBJECT

  public:
    /// `dividerName` is how screen readers call the divider.
    PaneSplitter(Qt::Orientation orientation, const QString &dividerName, QWidget *parent = nullptr);

  protected:
    QSplitterHandle *createHandle() override;

  private:
    QString dividerName;
};

}  // namespace ferrolt
