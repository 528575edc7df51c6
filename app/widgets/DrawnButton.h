#pragma once

#include "FocusRing.h"

#include <QAbstractButton>

namespace ferrolt {

/// What the buttons that draw themselves have in common: Enter presses them as Space does, the keyboard's
/// way to them shows by a ring, and a change of font, palette or state has them measured and drawn again.
class DrawnButton : public QAbstractButton {
    Q_OBJECT

  public:
    explicit DrawnButton(QWidget *parent = nullptr) : QAbstractButton(parent) {
        setFocusPolicy(Qt::StrongFocus);
    }

  protected:
    bool showsFocus() const { return ring.isShown(); }

    void changeEvent(QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

  private:
    FocusRing ring;
};

}  // namespace ferrolt
