#include "LogGeometry.h"

#include "LogRowText.h"
#include "LogText.h"

#include <algorithm>
#include <cmath>

namespace ferrolt {

LogPosition LogGeometry::positionAt(QPointF point) {
    Q_ASSERT(layout.isCurrent() && !layout.isEmpty());
    const auto y = static_cast<qint64>(std::floor(point.y()));
    if (view.offset() + y >= layout.markerBottom() - LogLayout::spacing)
        return LogText::end(layout.buffer());
    if (view.offset() + y < LogLayout::padding)
        return LogText::begin(layout.buffer());
    return positionAt(*view.rowAt(y), point.x() - textLeft());
}

QRectF LogGeometry::rectangleOf(LogPosition position) {
    Q_ASSERT(layout.isCurrent() && !layout.isEmpty());
    const LogBuffer &log = layout.buffer();
    position = LogText::clamped(log, position);
    const LogRow row = layout.rowOf(position);
    const LogPosition next = LogText::nextCharacter(log, position);
    const bool inRow = next.sequence == row.sequence && next.offset <= row.textEnd && next > position;
    const qreal begin = xOf(row, std::min(position.offset, row.textEnd));
    const qreal end = inRow ? xOf(row, next.offset) : begin + font.cellWidth();
    return QRectF(textLeft() + std::min(begin, end), static_cast<qreal>(view.yOf(row)), std::abs(end - begin),
                  font.rowHeight());
}

qreal LogGeometry::xOf(const LogRow &row, ByteOffset offset) const {
    return LogRowText(font, textOf(layout.buffer(), row), textWidth()).xOf(count(offset) - count(row.begin));
}

LogPosition LogGeometry::positionAt(const LogRow &row, qreal x) const {
    const LogRowText text(font, textOf(layout.buffer(), row), textWidth());
    return {row.sequence, byteOffset(count(row.begin) + text.offsetAt(x))};
}

}  // namespace ferrolt
