#include "SidebarEntry.h"

#include "Theme.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QStyleOptionToolButton>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int minSymbolSide = 16;

}  // namespace

SidebarEntry::SidebarEntry(Symbol symbol, const QString &text, QWidget *parent)
    : QToolButton(parent), symbol(symbol) {
    setText(text);
    setIcon(symbolIcon(symbol, Theme::accent));  // without one, Qt shows the text alone
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setAutoRaise(true);
    setCheckable(true);
    setAutoExclusive(true);
    setFocusPolicy(Qt::StrongFocus);
    // A column that is narrower than the text cuts it.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::toggled, this, [this](bool checked) {
        QAccessible::State changed;
        changed.selected = true;
        QAccessibleStateChangeEvent event(this, changed);
        QAccessible::updateAccessibility(&event);
        if (checked) {
            QAccessibleEvent selection(this, QAccessible::Selection);
            QAccessible::updateAccessibility(&selection);
        }
    });
}

void SidebarEntry::initStyleOption(QStyleOptionToolButton *option) const {
    QToolButton::initStyleOption(option);
    const QColor accent = Theme::accentOn(
        palette(), isChecked() ? Theme::selection(palette()) : Theme::sidebarBackground(palette()));
    option->palette.setColor(QPalette::ButtonText, accent);
    option->icon = symbolIcon(symbol, [accent](const QPalette &) { return accent; });
    option->iconSize = option->iconSize.expandedTo({minSymbolSide, minSymbolSide});
}

void SidebarEntry::keyPressEvent(QKeyEvent *event) {
    // QToolButton ignores Enter, which presses the default button of a dialog.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QToolButton::keyPressEvent(event);
}

}  // namespace ferrolt
