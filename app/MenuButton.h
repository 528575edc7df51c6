#pragma once

#include <QPushButton>

namespace ferrolt {

/// Opens the window's menu where the desktop has no menu bar of its own. Main thread.
class MenuButton : public QPushButton {
    Q_OBJECT

  public:
    explicit MenuButton(QWidget *parent);

    /// The menu opens above the button, inside the window. Not owned.
    void setMenu(QMenu *menu);

    QSize sizeHint() const override;

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

}  // namespace ferrolt
