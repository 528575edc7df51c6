#include "LogCaret.h"

#include "LogText.h"

#include <algorithm>

namespace ferrolt {

void LogCaret::move(Move move) {
    Q_ASSERT(layout.isCurrent() && !layout.isEmpty());
    if (selection.isEmpty() && move.step != Step::LogEdge)
        startOnScreen(move.direction);
    const LogPosition from = LogText::clamped(log, selection.caret());
    const LogPosition to = positionAfter(from, move.step, move.direction);
    if (move.mode == Mode::Extend)
        selection.moveEndTo(to);
    else
        selection.begin(to);
    shown = true;
}

void LogCaret::hide() {
    shown = false;
    column.reset();
}

void LogCaret::startOnScreen(Direction direction) {
    const qint64 y = view.yOf(layout.rowOf(LogText::clamped(log, selection.caret())));
    if (y > -layout.rowHeight() && y < view.viewHeight())
        return;
    const bool isTop = direction == Direction::Forward;
    const std::optional<LogRow> edge = view.rowAt(isTop ? 0 : view.viewHeight() - 1);
    selection.begin({edge->sequence, isTop ? edge->begin : edge->textEnd});
    column.reset();
}

LogPosition LogCaret::positionAfter(LogPosition from, Step step, Direction direction) {
    const bool isForward = direction == Direction::Forward;
    if (step != Step::Row && step != Step::Page)
        column.reset();
    const LogRow row = layout.rowOf(from);
    switch (step) {
        case Step::Character:
            return isForward ? LogText::nextCharacter(log, from) : LogText::previousCharacter(log, from);
        case Step::Word:
            return isForward ? LogText::nextWord(log, from) : LogText::previousWord(log, from);
        case Step::Row:
            return rowsAway(from, 1, direction);
        case Step::Page:
            return rowsAway(from, std::max(view.viewHeight() / layout.rowHeight() - 1, 1), direction);
        case Step::RowEdge:
            return {row.sequence, isForward ? row.textEnd : row.begin};
        case Step::LogEdge:
            break;
    }
    return isForward ? LogText::end(log) : LogText::begin(log);
}

LogPosition LogCaret::rowsAway(LogPosition from, int distance, Direction direction) {
    LogRow row = layout.rowOf(from);
    if (!column)
        column = metrics.xOf(row, std::min(from.offset, row.textEnd));
    for (; distance > 0; --distance) {
        if (direction == Direction::Forward) {
            if (row.number + 1 < layout.rowCount(row.sequence))
                row = layout.row(row.sequence, row.number + 1);
            else if (log.holds(row.sequence + 1))
                row = layout.row(row.sequence + 1, 0);
            else
                return LogText::end(log);
        } else {
            if (row.number > 0)
                row = layout.row(row.sequence, row.number - 1);
            else if (row.sequence > log.firstSequence())
                row = layout.row(row.sequence - 1, layout.rowCount(row.sequence - 1) - 1);
            else
                return LogText::begin(log);
        }
    }
    return metrics.positionAt(row, *column);
}

}  // namespace ferrolt
