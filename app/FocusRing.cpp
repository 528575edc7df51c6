#include "FocusRing.h"

#include "Drawing.h"
#include "Theme.h"

namespace ferrolt {
namespace {

constexpr qreal width = 2;

}  // namespace

bool FocusRing::isDueFor(Qt::FocusReason reason, bool isShown) {
    switch (reason) {
        case Qt::TabFocusReason:
        case Qt::BacktabFocusReason:
        case Qt::ShortcutFocusReason:
            return true;
        case Qt::ActiveWindowFocusReason:
        case Qt::PopupFocusReason:
        case Qt::MenuBarFocusReason:
        case Qt::OtherFocusReason:
            return isShown;
        case Qt::MouseFocusReason:
        case Qt::NoFocusReason:
            return false;
    }
    return false;
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
