#pragma once

#include <QPushButton>

namespace ferrolt {

/// Opens the window's menu where the desktop has no menu bar of its own. It can always be clicked, reached
/// with Tab and found by a screen reader, but is drawn only while the pointer is over its parent, while it
/// has the focus and while its menu is open. Main thread.
class MenuButton : public QPushButton {
    Q_OBJECT

  public:
    explicit MenuButton(QWidget *parent);

    /// The menu opens above the button, inside the window. Not owned.
    void setMenu(QMenu *menu);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
};

}  // namespace ferrolt
