#include "MenuButton.h"

#include "Drawing.h"
#include "SymbolView.h"
#include "Theme.h"

#include <QEvent>
#include <QFocusEvent>
#include <QMenu>
#include <QPainter>
#include <QStyleOptionToolButton>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int leastHeight = 28;
constexpr int roomAbove = 6;
constexpr int roomBeside = 10;  // the lines begin where the symbols of the entries do
constexpr int leastLength = 14;
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

void MenuButton::setMenu(QMenu *menu) {
    if (this->menu() != nullptr)
        this->menu()->removeEventFilter(this);
    QToolButton::setMenu(menu);
    if (menu != nullptr)
        menu->installEventFilter(this);
}

/// The same menu opens where the sidebar is clicked.
bool MenuButton::isMenuItsOwn() const {
    QStyleOptionToolButton option;
    initStyleOption(&option);
    return option.activeSubControls.testFlag(QStyle::SC_ToolButtonMenu);
}

/// As long as the symbols of the entries are wide, whatever the font.
int MenuButton::lineLength() const {
    return std::max(SymbolView::sideBeside(Theme::body()) - 2, leastLength);
}

QSize MenuButton::sizeHint() const {
    return QSize(2 * roomBeside + lineLength(), std::max(leastHeight, lineLength() + 2 * roomAbove));
}

void MenuButton::paintEvent(QPaintEvent *) {
    if (!parentWidget()->underMouse() && !hasFocus() && !isDown())
        return;
    QPainter painter(this);
    if (underMouse() || isDown())
        Drawing::fillRounded(painter, rect(), cornerRadius, Theme::separator(palette()));
    if (ring.isShown())
        FocusRing::draw(painter, rect(), cornerRadius, palette());
    const int length = lineLength();
    const qreal thickness = length * 1.5 / leastLength;
    const qreal distance = length * 4.0 / leastLength;
    for (int line = -1; line <= 1; ++line)
        painter.fillRect(Drawing::snapped(painter, QRectF((width() - length) / 2.0,
                                                          height() / 2.0 - thickness / 2 + line * distance,
                                                          length, thickness)),
                         Theme::secondaryText(palette()));
}

void MenuButton::changeEvent(QEvent *event) {
    QToolButton::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
}

void MenuButton::focusInEvent(QFocusEvent *event) {
    ring.focusIn(event->reason());
    QToolButton::focusInEvent(event);
}

void MenuButton::focusOutEvent(QFocusEvent *event) {
    ring.focusOut(event->reason());
    QToolButton::focusOutEvent(event);
}

bool MenuButton::eventFilter(QObject *watched, QEvent *event) {
    // QToolButton opens its menu below itself, which here is below the window. The menu is not on screen yet.
    if (watched == menu() && event->type() == QEvent::Show && isMenuItsOwn()) {
        const QPoint corner = mapToGlobal(QPoint(0, 0));
        const int left = isRightToLeft() ? corner.x() + width() - menu()->width() : corner.x();
        menu()->move(left, corner.y() - menu()->height());
    }
    if (watched == parentWidget() && (event->type() == QEvent::Enter || event->type() == QEvent::Leave))
        update();
    return QToolButton::eventFilter(watched, event);
}

}  // namespace ferrolt
