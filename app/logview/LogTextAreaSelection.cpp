// Places in the text of LogTextArea, and what is selected of it.

#include "LogRowText.h"
#include "LogText.h"
#include "LogTextArea.h"

#include <QRectF>

#include <algorithm>
#include <cmath>

namespace ferrolt {

std::optional<LogPosition> LogTextArea::topOfView() {
    syncLayout();
    const std::optional<LogRow> row = view.rowAt(0);
    return row ? std::optional(LogPosition{row->sequence, row->begin}) : std::nullopt;
}

std::optional<LogPosition> LogTextArea::positionAt(QPointF point) {
    syncLayout();
    if (log.isEmpty())
        return std::nullopt;
    const auto y = static_cast<qint64>(std::floor(point.y()));
    if (view.offset() + y >= layout.markerBottom() - LogLayout::spacing)
        return LogText::end(log);
    if (view.offset() + y < LogLayout::padding)
        return LogText::begin(log);
    const std::optional<LogRow> row = view.rowAt(y);
    const LogRowText text(font, textOf(log, *row), textWidth());
    return LogPosition{row->sequence, byteOffset(count(row->begin) + text.offsetAt(point.x() - textLeft()))};
}

QRectF LogTextArea::rectangleOf(LogPosition position) {
    syncLayout();
    if (log.isEmpty())
        return QRectF(textLeft(), LogLayout::padding, 0, font.rowHeight());
    position = LogText::clamped(log, position);
    const LogRow row = layout.rowOf(position);
    const LogRowText text(font, textOf(log, row), textWidth());
    const auto offset = std::min(count(position.offset), count(row.textEnd)) - count(row.begin);
    const LogPosition next = LogText::nextCharacter(log, position);
    const bool inRow = next.sequence == row.sequence && next.offset <= row.textEnd && next > position;
    const qreal left = text.xOf(offset);
    const qreal right = inRow ? text.xOf(count(next.offset) - count(row.begin)) : left + font.cellWidth();
    return QRectF(textLeft() + std::min(left, right), static_cast<qreal>(view.yOf(row)),
                  std::abs(right - left), font.rowHeight());
}

void LogTextArea::reveal(LogPosition position) {
    syncLayout();
    if (log.isEmpty())
        return;
    const LogRow row = layout.rowOf(LogText::clamped(log, position));
    const qint64 before = view.offset();
    view.reveal(row);
    view.settle();
    view.reveal(row);
    if (view.offset() != before)
        scrollByUser(view.offset());
    showView();
}

LogSpan LogTextArea::rowAt(LogPosition position) {
    syncLayout();
    const LogRow row = layout.rowOf(LogText::clamped(log, position));
    return {{row.sequence, row.begin}, {row.sequence, row.next}};
}

void LogTextArea::selectBy(const std::function<void()> &change) {
    const LogSpan before = selected.span();
    const LogPosition caretBefore = selected.caret();
    change();
    if (selected.span() != before) {
        selectionIsHit = false;
        Q_EMIT selectionChanged();
    }
    if (selected.caret() != caretBefore)
        Q_EMIT caretMoved();
    viewport()->update();
}

void LogTextArea::select(LogSpan span) {
    syncLayout();
    if (log.isEmpty())
        return;
    selectBy([&] { selected.select({LogText::clamped(log, span.begin), LogText::clamped(log, span.end)}); });
    const QRectF begin = rectangleOf(span.begin);
    if (begin.top() < 0 || begin.bottom() > view.viewHeight())
        scrollByUser(view.offset() + std::llround(begin.center().y() - view.viewHeight() / 2.0));
}

void LogTextArea::moveCaret(LogPosition position) {
    syncLayout();
    if (log.isEmpty())
        return;
    selectBy([&] { selected.begin(LogText::clamped(log, position)); });
    reveal(position);
}

void LogTextArea::selectAll() {
    syncLayout();
    if (log.isEmpty())
        return;
    stopFollowing();
    selectBy([&] { selected.select(LogText::whole(log)); });
    offerSelection();
}

void LogTextArea::copy() {
    syncLayout();
    if (!hasSelection())
        return;
    clipboard.clearContents();
    clipboard.setText(LogText::pieces(log, selected.span()));
}

void LogTextArea::offerSelection() {
    if (hasSelection())
        clipboard.offerSelection(LogText::pieces(log, selected.span()));
}

}  // namespace ferrolt
