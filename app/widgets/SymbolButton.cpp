#include "SymbolButton.h"

#include "Drawing.h"
#include "Theme.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int smallestSide = 12;
constexpr int margin = 3;  ///< that the ring around the focused button needs
constexpr qreal faint = 0.35;
constexpr qreal held = 0.55;
constexpr qreal focusRadius = 4;

}  // namespace

SymbolButton::SymbolButton(const QString &toolTip, Symbol symbol, Role tint, QWidget *parent)
    : DrawnButton(parent), shown(symbol), tint(tint) {
    setToolTip(toolTip);
    setAccessibleName(toolTip);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void SymbolButton::setSymbol(Symbol symbol, Role role) {
    shown = symbol;
    tint = role;
    update();
}

int SymbolButton::side() const {
    // As high as the text beside it.
    return std::max(QFontMetrics(Theme::body()).height(), smallestSide);
}

QSize SymbolButton::sizeHint() const {
    return {side() + 2 * margin, side() + 2 * margin};
}

void SymbolButton::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    if (showsFocus())
        FocusRing::draw(painter, rect(), focusRadius, palette());
    const int length = std::min(side(), std::min(width(), height()));
    const QPixmap pixmap = symbolPixmap(shown, QSize(length, length), tint(palette()), devicePixelRatioF());
    const QPointF corner((width() - length) / 2.0, (height() - length) / 2.0);
    painter.setOpacity(!isEnabled() ? faint : isDown() ? held : 1.0);
    painter.drawPixmap(Drawing::snapped(painter, QRectF(corner, QSizeF(length, length))).topLeft(), pixmap);
}

}  // namespace ferrolt
