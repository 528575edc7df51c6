#include "SidebarEntry.h"

#include "Drawing.h"
#include "SymbolView.h"
#include "Theme.h"

#include <QAccessible>
#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int inset = 10;
constexpr int leastHeight = 28;
constexpr int roomAroundText = 12;
constexpr qreal cornerRadius = 6;

int symbolSide() {
    return std::max(16, SymbolView::sideBeside(Theme::body()));
}

}  // namespace

SidebarEntry::SidebarEntry(Symbol symbol, const QString &text, QWidget *parent)
    : DrawnButton(parent), symbol(symbol) {
    setText(text);
    setCheckable(true);
    setAutoExclusive(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
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

QSize SidebarEntry::sizeHint() const {
    const QFontMetrics metrics(Theme::body());
    return QSize(2 * inset + symbolSide() + Theme::spacing + metrics.horizontalAdvance(text()),
                 std::max(leastHeight, metrics.height() + roomAroundText));
}

QSize SidebarEntry::minimumSizeHint() const {
    return QSize(2 * inset + symbolSide(), sizeHint().height());
}

void SidebarEntry::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    if (isChecked())
        Drawing::fillRounded(painter, rect(), cornerRadius, Theme::selection(palette()));
    if (showsFocus())
        FocusRing::draw(painter, rect(), cornerRadius, palette());

    const QColor accent = Theme::accentOn(
        palette(), isChecked() ? Theme::selection(palette()) : Theme::sidebarBackground(palette()));
    const int side = symbolSide();
    const QRect symbolPlace =
        QStyle::visualRect(layoutDirection(), rect(), QRect(inset, (height() - side) / 2, side, side));
    drawSymbol(painter, symbol, symbolPlace, accent);

    const int textLeft = inset + side + Theme::spacing;
    const QRect textPlace = QStyle::visualRect(layoutDirection(), rect(),
                                               QRect(textLeft, 0, width() - textLeft - inset, height()));
    painter.setFont(Theme::body());
    painter.setPen(accent);
    painter.drawText(textPlace, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
                     painter.fontMetrics().elidedText(text(), Qt::ElideRight, textPlace.width()));
}

}  // namespace ferrolt
