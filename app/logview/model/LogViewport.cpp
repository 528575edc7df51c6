#include "LogViewport.h"

#include <algorithm>

namespace ferrolt {

qint64 LogViewport::offset() const {
    const qint64 top = layout.knows(anchor) ? layout.top(anchor) + distance : distance;
    return std::clamp<qint64>(top, 0, maximum());
}

qint64 LogViewport::followOffset() const {
    return std::clamp<qint64>(layout.markerBottom() - height, 0, maximum());
}

void LogViewport::anchorAt(qint64 offset) {
    if (layout.isEmpty()) {
        anchor = layout.endSequence();
        distance = offset;
        return;
    }
    anchor = layout.elementAt(offset);
    distance = offset - layout.top(anchor);
}

void LogViewport::scrollTo(qint64 offset) {
    anchorAt(std::clamp<qint64>(offset, 0, maximum()));
}

void LogViewport::reveal(const LogRow &row) {
    layout.measure(row.sequence);
    const qint64 top = layout.top(row.sequence) + qint64{row.number} * layout.rowHeight();
    const qint64 bottom = top + layout.rowHeight();
    if (top < offset())
        scrollTo(row.sequence == layout.firstSequence() && row.number == 0 ? 0 : top);
    else
        scrollTo(std::max(offset(), bottom - height));
}

template <class Change>
void LogViewport::keepingEnd(Change change) {
    // A log that fits on screen is at its end and at its top. When it no longer fits, it stays at its top.
    const bool atEnd = offset() > 0 && showsEnd();
    const qint64 below = maximum() - offset();
    change();
    if (atEnd)
        scrollTo(std::max(maximum() - below, followOffset()));
}

void LogViewport::setHeight(int pixels) {
    keepingEnd([&] { height = pixels; });
}

void LogViewport::setGrid(int columns, int rowHeight) {
    if (columns == layout.columns() && rowHeight == layout.rowHeight())
        return;
    keepingEnd([&] {
        if (!layout.knows(anchor) || !layout.isCurrent() || distance < 0) {
            layout.setGrid(columns, rowHeight);
            return;
        }
        const auto topRow = static_cast<std::uint32_t>(distance / layout.rowHeight());
        const bool inside = topRow < layout.rowCount(anchor);
        const LogRow row = inside ? layout.row(anchor, topRow) : LogRow();
        const qint64 part = inside ? distance % layout.rowHeight() : distance - layout.heightOf(anchor);
        layout.setGrid(columns, rowHeight);
        layout.measure(anchor);
        distance = part + (inside ? qint64{layout.rowOf({anchor, row.begin}).number} * rowHeight
                                  : layout.heightOf(anchor));
    });
}

void LogViewport::sync(Hold hold, std::size_t bytesToCount) {
    const qint64 before = offset();
    const bool keepsText = hold == Hold::Text && !layout.isEmpty();
    layout.sync();
    // Counted before the offset is looked up: an estimate that is corrected later would move the text.
    layout.measureBytes(bytesToCount);
    if (!keepsText)
        anchorAt(before);
    else if (!layout.knows(anchor))
        anchorAt(0);
}

void LogViewport::settle() {
    if (layout.isEmpty() || !layout.isCurrent())
        return;
    // Each round counts one more of the few elements that fit on screen.
    const bool atEnd = offset() > 0 && showsEnd();
    for (bool counted = true; counted;) {
        counted = false;
        anchorAt(atEnd ? std::max(offset(), followOffset()) : offset());
        const std::uint64_t last = layout.elementAt(offset() + height);
        for (std::uint64_t i = anchor; i <= last && !counted; ++i) {
            counted = !layout.isExact(i);
            layout.measure(i);
        }
    }
}

void LogViewport::measureBytes(std::size_t maxBytes) {
    keepingEnd([&] { layout.measureBytes(maxBytes); });
}

void LogViewport::measureFor(std::chrono::nanoseconds maxTime) {
    keepingEnd([&] { layout.measureFor(maxTime); });
}

std::vector<LogViewport::VisibleRow> LogViewport::visibleRows() {
    std::vector<VisibleRow> visible;
    settle();
    if (layout.isEmpty() || !layout.isCurrent())
        return visible;
    const qint64 topEdge = offset();
    const int rowHeight = layout.rowHeight();
    for (std::uint64_t i = anchor; i < layout.endSequence(); ++i) {
        const qint64 top = layout.top(i) - topEdge;
        if (top >= height)
            break;
        const std::uint32_t rows = layout.rowCount(i);
        auto number = static_cast<std::uint32_t>(top < 0 ? -top / rowHeight : 0);
        for (; number < rows && top + qint64{number} * rowHeight < height; ++number)
            visible.push_back({layout.row(i, number), static_cast<int>(top + qint64{number} * rowHeight)});
    }
    return visible;
}

qint64 LogViewport::yOf(const LogRow &row) {
    return layout.top(row.sequence) + qint64{row.number} * layout.rowHeight() - offset();
}

std::optional<LogRow> LogViewport::rowAt(qint64 y) {
    if (layout.isEmpty() || !layout.isCurrent())
        return std::nullopt;
    settle();
    const qint64 at = offset() + y;
    const std::uint64_t sequence = layout.elementAt(at);
    const std::uint32_t rows = layout.rowCount(sequence);
    const qint64 number = (at - layout.top(sequence)) / layout.rowHeight();
    return layout.row(sequence, static_cast<std::uint32_t>(std::clamp<qint64>(number, 0, qint64{rows} - 1)));
}

}  // namespace ferrolt
