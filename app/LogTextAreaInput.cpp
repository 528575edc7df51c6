// Mouse and keyboard of LogTextArea.

#include "FocusRing.h"
#include "LogRowText.h"
#include "LogText.h"
#include "LogTextArea.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QFocusEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QStyleHints>

#include <algorithm>
#include <cmath>

namespace ferrolt {
namespace {

constexpr int dragScrollMilliseconds = 30;

QByteArrayView textOf(const LogBuffer &log, const LogRow &row) {
    const auto begin = static_cast<qsizetype>(count(row.begin));
    return QByteArrayView(log.bySequence(row.sequence))
        .sliced(begin, static_cast<qsizetype>(count(row.textEnd)) - begin);
}

}  // namespace

std::optional<LogPosition> LogTextArea::topOfView() {
    bringUpToDate();
    const std::optional<LogRow> row = view.rowAt(0);
    return row ? std::optional(LogPosition{row->sequence, row->begin}) : std::nullopt;
}

std::optional<LogPosition> LogTextArea::positionAt(QPointF point) {
    bringUpToDate();
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
    bringUpToDate();
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
    bringUpToDate();
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
    bringUpToDate();
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
    bringUpToDate();
    if (log.isEmpty())
        return;
    selectBy([&] { selected.select({LogText::clamped(log, span.begin), LogText::clamped(log, span.end)}); });
    const QRectF begin = rectangleOf(span.begin);
    if (begin.top() < 0 || begin.bottom() > view.viewHeight())
        scrollByUser(view.offset() + std::llround(begin.center().y() - view.viewHeight() / 2.0));
}

void LogTextArea::moveCaret(LogPosition position) {
    bringUpToDate();
    if (log.isEmpty())
        return;
    selectBy([&] { selected.begin(LogText::clamped(log, position)); });
    reveal(position);
}

void LogTextArea::selectAll() {
    bringUpToDate();
    if (log.isEmpty())
        return;
    stopFollowing();
    selectBy([&] { selected.select(LogText::whole(log)); });
    offerSelection();
}

void LogTextArea::copy() {
    bringUpToDate();
    if (!hasSelection())
        return;
    clipboard.clearContents();
    clipboard.setText(LogText::pieces(log, selected.span()));
}

void LogTextArea::offerSelection() {
    if (hasSelection())
        clipboard.offerSelection(LogText::pieces(log, selected.span()));
}

void LogTextArea::mousePressEvent(QMouseEvent *event) {
    const std::optional<LogPosition> place = positionAt(event->position());
    if (event->button() != Qt::LeftButton || !place) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    stopFollowing();
    caretShown = false;
    caretColumn.reset();
    const bool third =
        sinceDoubleClick.isValid() &&
        sinceDoubleClick.elapsed() < QGuiApplication::styleHints()->mouseDoubleClickInterval() &&
        (event->position() - doubleClickPoint).manhattanLength() < QApplication::startDragDistance();
    sinceDoubleClick.invalidate();
    dragging = true;
    dragPoint = event->position();
    selectBy([&] {
        if (third)
            selected.begin(*place, LogSelection::Unit::Line);
        else if (event->modifiers().testFlag(Qt::ShiftModifier))
            selected.extendTo(*place);
        else
            selected.begin(*place);
    });
    event->accept();
}

void LogTextArea::mouseDoubleClickEvent(QMouseEvent *event) {
    const std::optional<LogPosition> place = positionAt(event->position());
    if (event->button() != Qt::LeftButton || !place)
        return;
    sinceDoubleClick.start();
    doubleClickPoint = event->position();
    dragging = true;
    dragPoint = event->position();
    selectBy([&] { selected.begin(*place, LogSelection::Unit::Word); });
    event->accept();
}

void LogTextArea::mouseMoveEvent(QMouseEvent *event) {
    if (!dragging)
        return;
    dragPoint = event->position();
    dragTo(dragPoint);
    const bool beyond = dragPoint.y() < 0 || dragPoint.y() > viewport()->height();
    if (!beyond)
        dragTimer.stop();
    else if (!dragTimer.isActive())
        dragTimer.start(dragScrollMilliseconds, this);
}

void LogTextArea::dragTo(QPointF point) {
    const qreal bottom = std::max(viewport()->height() - 1.0, 0.0);
    const std::optional<LogPosition> place =
        positionAt(QPointF(point.x(), std::clamp(point.y(), 0.0, bottom)));
    if (place)
        selectBy([&] { selected.extendTo(*place); });
}

void LogTextArea::mouseReleaseEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton || !dragging)
        return;
    dragging = false;
    dragTimer.stop();
    offerSelection();
}

void LogTextArea::contextMenuEvent(QContextMenuEvent *event) {
    bringUpToDate();
    auto *const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction *const copyAction = menu->addAction(tr("&Copy"), this, &LogTextArea::copy);
    copyAction->setShortcut(QKeySequence::Copy);
    copyAction->setEnabled(hasSelection());
    menu->addSeparator();
    QAction *const allAction = menu->addAction(tr("Select &All"), this, &LogTextArea::selectAll);
    allAction->setShortcut(QKeySequence::SelectAll);
    allAction->setEnabled(!log.isEmpty());
    for (QAction *action : {copyAction, allAction})
        action->setShortcutVisibleInContextMenu(true);
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    menu->popup(byKey ? viewport()->mapToGlobal(QPoint(LogLayout::padding, LogLayout::padding))
                      : event->globalPos());
}

void LogTextArea::focusInEvent(QFocusEvent *event) {
    focusShown = FocusRing::isDueFor(event->reason(), focusShown);
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void LogTextArea::focusOutEvent(QFocusEvent *event) {
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

void LogTextArea::keyPressEvent(QKeyEvent *event) {
    bringUpToDate();
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
