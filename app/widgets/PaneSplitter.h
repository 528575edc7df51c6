#pragma once

#include <QSplitter>

namespace ferrolt {

/// A splitter with two panes, neither of which can be collapsed. Its handle can be reached with Tab and moved
/// with the arrow keys. Main thread.
class PaneSplitter : public QSplitter {
    Q_OBJECT

  public:
    /// `handleName` is the handle's accessible name.
    PaneSplitter(Qt::Orientation orientation, const QString &handleName, QWidget *parent = nullptr);

  protected:
    QSplitterHandle *createHandle() override;

  private:
    QString handleName;
};

}  // namespace ferrolt
