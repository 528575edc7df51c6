#include "MenuButton.h"

#include "Drawing.h"
#include "FocusRing.h"
#include "Theme.h"

#include <QEvent>
#include <QFocusEvent>
#include <QPainter>

namespace ferrolt {
namespace {

constexpr int buttonHeight = 28;
constexpr int buttonWidth = 34;  // the lines begin where the symbols of the entries do
constexpr int lineLength = 14;
constexpr int lineDistance = 4;
constexpr qreal cornerRadius = 6;

}  // namespace

MenuButton::MenuButton(QWidget *parent) : QToolButton(parent) {
    setAccessibleName(QStringLiteral("Menu"));
    setToolTip(QStringLiteral("Menu"));
    setPopupMode(QToolButton::InstantPopup);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    parent->installEventFilter(this);
}

QSize MenuButton::sizeHint() const {
    return QSize(buttonWidth, buttonHeight);
}

void MenuButton::paintEvent(QPaintEvent *) {
    if (!parentWidget()->underMouse() && !hasFocus() && !isDown())
        return;
    QPainter painter(this);
    if (underMouse() || isDown())
        Drawing::fillRounded(painter, rect(), cornerRadius, Theme::separator(palette()));
    if (showsFocus)
        FocusRing::draw(painter, rect(), cornerRadius, palette());
    const qreal thickness = 1.5;
    for (int line = -1; line <= 1; ++line)
        painter.fillRect(
            Drawing::snapped(painter, QRectF((buttonWidth - lineLength) / 2.0,
                                             buttonHeight / 2.0 - thickness / 2 + line * lineDistance,
                                             lineLength, thickness)),
            Theme::secondaryText(palette()));
}

void MenuButton::focusInEvent(QFocusEvent *event) {
    showsFocus = FocusRing::isDueFor(event->reason(), showsFocus);
    QToolButton::focusInEvent(event);
}

void MenuButton::focusOutEvent(QFocusEvent *event) {
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason)
        showsFocus = false;
    QToolButton::focusOutEvent(event);
}

bool MenuButton::eventFilter(QObject *watched, QEvent *event) {
    if (watched == parentWidget() && (event->type() == QEvent::Enter || event->type() == QEvent::Leave))
        update();
    return QToolButton::eventFilter(watched, event);
}

}  // namespace ferrolt
