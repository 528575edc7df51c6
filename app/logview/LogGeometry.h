#pragma once

#include "ConsoleFont.h"
#include "LogViewport.h"
#include "RowMetrics.h"

#include <QPointF>
#include <QRectF>

namespace ferrolt {

/// Where the text of a log stands in the viewport that shows it: converts between positions and points, in
/// logical pixels from the viewport's top left corner.
///
/// The layout must be current and not empty, unless a function says otherwise.
class LogGeometry final : public RowMetrics {
  public:
    /// All must outlive this.
    LogGeometry(LogLayout &layout, LogViewport &view, const ConsoleFont &font)
        : layout(layout), view(view), font(font) {}

    /// The left edge of all rows, and the width of a full one; of an empty log, too.
    qreal textLeft() const { return LogLayout::padding; }
    qreal textWidth() const { return layout.columns() * font.cellWidth(); }

    /// The nearest position to a point.
    LogPosition positionAt(QPointF point);
    /// The box of the character at a position, which may be off screen.
    QRectF rectangleOf(LogPosition position);

    qreal xOf(const LogRow &row, ByteOffset offset) const override;
    LogPosition positionAt(const LogRow &row, qreal x) const override;

  private:
    LogLayout &layout;
    LogViewport &view;
    const ConsoleFont &font;
};

}  // namespace ferrolt
