#include "Drawing.h"

#include <QPaintDevice>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrolt {
namespace {

constexpr int stepsPerCorner = 12;

}  // namespace

QPainterPath Drawing::continuousRectangle(const QRectF &rectangle, qreal radius) {
    const qreal shorterSide = std::min(rectangle.width(), rectangle.height());
    const qreal reach = std::min(radius * 1.5, shorterSide / 2);
    QPainterPath path;
    if (reach <= 0) {
        path.addRect(rectangle);
        return path;
    }
    // The curve meets the circle of the same radius in the middle of the corner.
    const qreal removed = std::min(radius, reach) * (1 - 1 / std::numbers::sqrt2);
    const qreal exponent = -1 / std::log2(1 - removed / reach);

    // In drawing order. `center` is where the circle's centre would be; the curve is in the direction of
    // `outwardX` and `outwardY` from there.
    struct Corner {
        QPointF center;
        qreal outwardX, outwardY;
        bool beginsAtSide;  ///< drawn from the vertical side to the horizontal one
    };
    const QRectF inner = rectangle.adjusted(reach, reach, -reach, -reach);
    const Corner corners[] = {{inner.topLeft(), -1, -1, true},
                              {inner.topRight(), 1, -1, false},
                              {inner.bottomRight(), 1, 1, true},
                              {inner.bottomLeft(), -1, 1, false}};
    for (const Corner &corner : corners) {
        for (int step = 0; step <= stepsPerCorner; ++step) {
            const int along = corner.beginsAtSide ? step : stepsPerCorner - step;
            const qreal angle = along * std::numbers::pi / 2 / stepsPerCorner;
            const qreal x = std::pow(std::max(std::cos(angle), 0.0), 2 / exponent) * reach;
            const qreal y = std::pow(std::max(std::sin(angle), 0.0), 2 / exponent) * reach;
            const QPointF point = corner.center + QPointF(corner.outwardX * x, corner.outwardY * y);
            if (path.elementCount() == 0)
                path.moveTo(point);
            else
                path.lineTo(point);
        }
    }
    path.closeSubpath();
    return path;
}

void Drawing::fillRounded(QPainter &painter, const QRectF &rectangle, qreal radius, const QColor &color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(continuousRectangle(snapped(painter, rectangle), radius), color);
    painter.restore();
}

void Drawing::strokeRounded(QPainter &painter, const QRectF &rectangle, qreal radius, const QColor &color) {
    const qreal width = borderWidth(painter);
    const QRectF outer = snapped(painter, rectangle);
    QPainterPath ring = continuousRectangle(outer, radius);
    ring.addPath(continuousRectangle(outer.adjusted(width, width, -width, -width), radius - width));
    ring.setFillRule(Qt::OddEvenFill);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(ring, color);
    painter.restore();
}

void Drawing::strokeRectangle(QPainter &painter, const QRectF &rectangle, const QColor &color) {
    const qreal width = borderWidth(painter);
    const QRectF outer = snapped(painter, rectangle);
    painter.fillRect(QRectF(outer.left(), outer.top(), outer.width(), width), color);
    painter.fillRect(QRectF(outer.left(), outer.bottom() - width, outer.width(), width), color);
    painter.fillRect(QRectF(outer.left(), outer.top() + width, width, outer.height() - 2 * width), color);
    painter.fillRect(QRectF(outer.right() - width, outer.top() + width, width, outer.height() - 2 * width),
                     color);
}

qreal Drawing::borderWidth(const QPainter &painter) {
    const qreal scale = painter.device() ? painter.device()->devicePixelRatio() : 1.0;
    return std::max(1.0, std::floor(scale)) / scale;
}

QRectF Drawing::snapped(const QPainter &painter, const QRectF &rectangle) {
    // At a fractional scale factor a widget may begin between two device pixels.
    const QTransform toDevice = painter.deviceTransform();
    const QRectF device = toDevice.mapRect(rectangle);
    const QRectF whole(QPointF(std::round(device.left()), std::round(device.top())),
                       QPointF(std::round(device.right()), std::round(device.bottom())));
    return toDevice.inverted().mapRect(whole);
}

}  // namespace ferrolt
