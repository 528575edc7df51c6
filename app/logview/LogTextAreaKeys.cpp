// The keyboard in LogTextArea.

#include "LogRowText.h"
#include "LogText.h"
#include "LogTextArea.h"

#include <QFocusEvent>
#include <QKeyEvent>

#include <algorithm>

namespace ferrolt {

void LogTextArea::focusInEvent(QFocusEvent *event) {
    focusRing.focusIn(event->reason());
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void LogTextArea::focusOutEvent(QFocusEvent *event) {
    focusRing.focusOut(event->reason());
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

void LogTextArea::keyPressEvent(QKeyEvent *event) {
    syncLayout();
    if (event->matches(QKeySequence::Copy))
        copy();
    else if (event->matches(QKeySequence::SelectAll))
        selectAll();
    else if (log.isEmpty() || (!scrollByKey(*event) && !moveByKey(*event)))
        event->ignore();
}

bool LogTextArea::scrollByKey(const QKeyEvent &event) {
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (modifiers != Qt::NoModifier)
        return false;
    const qint64 page = std::max(view.viewHeight() - layout.rowHeight(), layout.rowHeight());
    switch (event.key()) {
        case Qt::Key_PageUp:
            scrollByUser(view.offset() - page);
            return true;
        case Qt::Key_PageDown:
            scrollByUser(view.offset() + page);
            return true;
        case Qt::Key_Home:
            scrollByUser(0);
            return true;
        case Qt::Key_End:
            stopFollowing();
            jumpToEnd();
            scrollByUser(view.maximum());
            return true;
        default:
            return false;
    }
}

bool LogTextArea::moveByKey(const QKeyEvent &event) {
    struct Binding {
        QKeySequence::StandardKey move;
        QKeySequence::StandardKey extend;
        Step step;
        Direction direction;
    };
    using Key = QKeySequence;
    static constexpr Binding bindings[] = {
        {Key::MoveToPreviousChar, Key::SelectPreviousChar, Step::Character, Direction::Back},
        {Key::MoveToNextChar, Key::SelectNextChar, Step::Character, Direction::Forth},
        {Key::MoveToPreviousWord, Key::SelectPreviousWord, Step::Word, Direction::Back},
        {Key::MoveToNextWord, Key::SelectNextWord, Step::Word, Direction::Forth},
        {Key::MoveToPreviousLine, Key::SelectPreviousLine, Step::Row, Direction::Back},
        {Key::MoveToNextLine, Key::SelectNextLine, Step::Row, Direction::Forth},
        {Key::MoveToPreviousPage, Key::SelectPreviousPage, Step::Page, Direction::Back},
        {Key::MoveToNextPage, Key::SelectNextPage, Step::Page, Direction::Forth},
        {Key::MoveToStartOfLine, Key::SelectStartOfLine, Step::RowEdge, Direction::Back},
        {Key::MoveToEndOfLine, Key::SelectEndOfLine, Step::RowEdge, Direction::Forth},
        {Key::MoveToStartOfDocument, Key::SelectStartOfDocument, Step::LogEdge, Direction::Back},
        {Key::MoveToEndOfDocument, Key::SelectEndOfDocument, Step::LogEdge, Direction::Forth},
    };
    for (const Binding &binding : bindings) {
        const bool extend = event.matches(binding.extend);
        if (!extend && !event.matches(binding.move))
            continue;
        moveCaretBy(binding.step, binding.direction, extend);
        return true;
    }
    return false;
}

void LogTextArea::startCaretOnScreen(Direction direction) {
    const LogRow row = layout.rowOf(LogText::clamped(log, selected.caret()));
    const qint64 y = view.yOf(row);
    if (y > -layout.rowHeight() && y < view.viewHeight())
        return;
    const bool top = direction == Direction::Forth;
    const std::optional<LogRow> start = view.rowAt(top ? 0 : view.viewHeight() - 1);
    selected.begin({start->sequence, top ? start->begin : start->textEnd});
    caretColumn.reset();
}

void LogTextArea::moveCaretBy(Step step, Direction direction, bool extend) {
    stopFollowing();
    selectBy([&] {
        if (!hasSelection() && step != Step::LogEdge)
            startCaretOnScreen(direction);
        const LogPosition place = placeAfter(LogText::clamped(log, selected.caret()), step, direction);
        if (extend)
            selected.moveEndTo(place);
        else
            selected.begin(place);
    });
    caretShown = true;
    reveal(selected.caret());
    if (extend)
        offerSelection();
}

LogPosition LogTextArea::placeAfter(LogPosition from, Step step, Direction direction) {
    const bool forth = direction == Direction::Forth;
    if (step != Step::Row && step != Step::Page)
        caretColumn.reset();
    LogRow row = layout.rowOf(from);
    switch (step) {
        case Step::Character:
            return forth ? LogText::nextCharacter(log, from) : LogText::previousCharacter(log, from);
        case Step::Word:
            return forth ? LogText::nextWord(log, from) : LogText::previousWord(log, from);
        case Step::RowEdge:
            return {row.sequence, forth ? row.textEnd : row.begin};
        case Step::LogEdge:
            return forth ? LogText::end(log) : LogText::begin(log);
        case Step::Row:
        case Step::Page:
            break;
    }
    if (!caretColumn)
        caretColumn = LogRowText(font, textOf(log, row), textWidth())
                          .xOf(std::min(count(from.offset), count(row.textEnd)) - count(row.begin));
    const int distance = step == Step::Row ? 1 : std::max(view.viewHeight() / layout.rowHeight() - 1, 1);
    for (int i = 0; i < distance; ++i) {
        if (forth) {
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
    const LogRowText text(font, textOf(log, row), textWidth());
    return {row.sequence, byteOffset(count(row.begin) + text.offsetAt(*caretColumn))};
}

}  // namespace ferrolt
