#include "FocusRing.h"

#include "Drawing.h"
#include "Theme.h"

namespace ferrolt {
namespace {

constexpr qreal width = 2;

}  // namespace

void FocusRing::focusIn(Qt::FocusReason reason) {
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason)
        shown = true;
    else if (reason == Qt::MouseFocusReason)
        shown = false;
}

void FocusRing::focusOut(Qt::FocusReason reason) {
    if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
        shown = false;
}

void FocusRing::draw(QPainter &painter, const QRectF &rectangle, qreal radius, const QPalette &palette) {
    const QRectF outer = Drawing::snapped(painter, rectangle);
    QPainterPath ring = Drawing::continuousRectangle(outer, radius);
    ring.addPath(Drawing::continuousRectangle(outer.adjusted(width, width, -width, -width), radius - width));
    ring.setFillRule(Qt::OddEvenFill);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(ring, Theme::accent(palette));
    painter.restore();
}

}  // namespace ferrolt
