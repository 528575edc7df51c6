#include "MenuButton.h"

#include "Symbols.h"
#include "Theme.h"

#include <QEvent>
#include <QMenu>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int minHeight = 28;
constexpr int verticalMargin = 6;
constexpr int horizontalMargin = 10;  // in line with the symbols of the entries

}  // namespace

MenuButton::MenuButton(QWidget *parent) : QPushButton(parent) {
    setIcon(symbolIcon(Symbol::Menu, Theme::secondaryText));
    setFlat(true);
    setAutoDefault(true);  // Enter opens the menu, as Space does
    setAccessibleName(QStringLiteral("Menu"));
    setToolTip(QStringLiteral("Menu"));
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void MenuButton::setMenu(QMenu *menu) {
    if (this->menu() != nullptr)
        this->menu()->removeEventFilter(this);
    QPushButton::setMenu(menu);
    if (menu != nullptr)
        menu->installEventFilter(this);
}

QSize MenuButton::sizeHint() const {
    return QSize(iconSize().width() + 2 * horizontalMargin,
                 std::max(iconSize().height() + 2 * verticalMargin, minHeight));
}

bool MenuButton::eventFilter(QObject *watched, QEvent *event) {
    // QPushButton opens its menu below itself, which here is below the window. The same menu also opens where
    // the sidebar is clicked; the button is not down then.
    if (watched == menu() && event->type() == QEvent::Show && isDown()) {
        const QPoint corner = mapToGlobal(QPoint(0, 0));
        const int left = isRightToLeft() ? corner.x() + width() - menu()->width() : corner.x();
        menu()->move(left, corner.y() - menu()->height());
    }
    return QPushButton::eventFilter(watched, event);
}

}  // namespace ferrolt
