#pragma once

#include <QColor>
#include <QPainter>
#include <QPainterPath>
#include <QRectF>

namespace ferrolt {

/// Shapes that stay sharp at every scale factor, fractional ones included. Sizes are logical pixels.
class Drawing {
  public:
    /// A rectangle with continuous corners: superellipses, which bend gradually, where a rounded rectangle
    /// has circles. They cut off as much of the corner as circles of `radius` would.
    static QPainterPath continuousRectangle(const QRectF &rectangle, qreal radius);

    /// Fills a continuousRectangle().
    static void fillRounded(QPainter &painter, const QRectF &rectangle, qreal radius, const QColor &color);

    /// Draws a border of borderWidth() inside the edge of a continuousRectangle().
    static void strokeRounded(QPainter &painter, const QRectF &rectangle, qreal radius, const QColor &color);

    /// Draws a border of borderWidth() with square corners, inside `rectangle`.
    static void strokeRectangle(QPainter &painter, const QRectF &rectangle, const QColor &color);

    /// The width of a one-pixel line, rounded down to whole device pixels (min 1): at a fractional scale
    /// factor it would be blurred, or its sides unequal.
    static qreal borderWidth(const QPainter &painter);

    /// `rectangle` with its edges moved to the nearest device pixels.
    static QRectF snapped(const QPainter &painter, const QRectF &rectangle);
};

}  // namespace ferrolt
