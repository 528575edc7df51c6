#pragma once

#include <QColor>
#include <QPainter>
#include <QPainterPath>
#include <QRectF>

namespace ferrolt {

/// Shapes that stay sharp at every scale factor, whole or not. Sizes are logical pixels.
class Drawing {
  public:
    /// A rectangle whose corners bend into their sides gradually, as a superellipse does, rather than where a
    /// circle would begin. `radius` is that of the circle which takes as much off the corner.
    static QPainterPath continuousRectangle(const QRectF &rectangle, qreal radius);

    /// Fills such a rectangle.
    static void fillRounded(QPainter &painter, const QRectF &rectangle, qreal radius, const QColor &color);

    /// Draws a line of borderWidth() inside the edge of such a rectangle.
    static void strokeRounded(QPainter &painter, const QRectF &rectangle, qreal radius, const QColor &color);

    /// Draws a border of borderWidth() with square corners, inside `rectangle`.
    static void strokeRectangle(QPainter &painter, const QRectF &rectangle, const QColor &color);

    /// How wide a line of one unit is drawn: as many whole device pixels as fit, one at least, so that a
    /// fractional scale factor neither blurs it nor makes its sides unequal.
    static qreal borderWidth(const QPainter &painter);

    /// `rectangle` with its edges moved to the nearest device pixels.
    static QRectF snapped(const QPainter &painter, const QRectF &rectangle);
};

}  // namespace ferrolt
