#pragma once

#include "FocusRing.h"

#include <QToolButton>

namespace ferrolt {

/// Opens the window's menu where the desktop has no menu bar of its own. It can always be clicked, reached
/// with Tab and found by a screen reader, but is drawn only while the pointer is over the part of the window
/// that it belongs to (its parent), while it has the keyboard or while its menu is open.
class MenuButton : public QToolButton {
    Q_OBJECT

  public:
    explicit MenuButton(QWidget *parent);

    /// The menu opens above the button, inside the window. Not owned.
    void setMenu(QMenu *menu);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    bool isMenuItsOwn() const;
    int lineLength() const;

    FocusRing ring;
};

}  // namespace ferrolt
