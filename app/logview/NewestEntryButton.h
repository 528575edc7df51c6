#pragma once

#include <QToolButton>

namespace ferrolt {

class LogTextArea;

/// A round button over the lower corner of a log, there only while the newest entry is not on screen: it
/// scrolls there. Leaves the keyboard focus where it is. Main thread.
class NewestEntryButton : public QToolButton {
    Q_OBJECT

  public:
    /// Lies over `area`, which has the same parent and lives as long as the button.
    NewestEntryButton(LogTextArea &area, QWidget *parent);

    QSize sizeHint() const override;

  protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

  private:
    void place();

    LogTextArea &area;
};

}  // namespace ferrolt
