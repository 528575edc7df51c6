#include "DrawnButton.h"

#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>

namespace ferrolt {

void DrawnButton::changeEvent(QEvent *event) {
    QAbstractButton::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    update();
}

void DrawnButton::focusInEvent(QFocusEvent *event) {
    ring.focusIn(event->reason());
    QAbstractButton::focusInEvent(event);
}

void DrawnButton::focusOutEvent(QFocusEvent *event) {
    ring.focusOut(event->reason());
    QAbstractButton::focusOutEvent(event);
}

void DrawnButton::keyPressEvent(QKeyEvent *event) {
    // QAbstractButton knows Space alone; Enter is for dialogs there.
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isEnter)
        QAbstractButton::keyPressEvent(event);
    else if (!event->isAutoRepeat())
        click();
}

}  // namespace ferrolt
