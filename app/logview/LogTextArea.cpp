#include "LogTextArea.h"

#include "LogAccessible.h"
#include "LogAnnouncer.h"
#include "LogDrag.h"
#include "LogText.h"
#include "MainQueue.h"
#include "Theme.h"

#include <QContextMenuEvent>
#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <QTimerEvent>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ferrolt {
namespace {

using namespace std::chrono_literals;

/// A change after a pause is shown at once. While a log grows without pause no user can read every frame, and
/// drawing a screenful of text is the main cost of an everyday child.
constexpr int screenRefreshesBetweenReads = 4;
/// The rows of up to this many new bytes are counted at once, which is everything at an everyday pace.
constexpr std::size_t bytesCountedAtOnce = 64 * 1024;
/// The rows of other elements are counted once the log has been quiet for a while, in portions too short to
/// be noticed.
constexpr int quietMilliseconds = 100;
constexpr int pauseMilliseconds = 2;
constexpr auto countingPortion = 4ms;

/// QScrollBar counts in int, and adds its page to its maximum.
constexpr qint64 maxBarValue = 1'000'000'000;

/// The move that a key asks for, by the desktop's bindings.
std::optional<LogCaret::Move> caretMoveOf(const QKeyEvent &event) {
    using Key = QKeySequence;
    using Step = LogCaret::Step;
    struct Binding {
        Key::StandardKey move;
        Key::StandardKey extend;
        Step step;
        Direction direction;
    };
    static constexpr Binding bindings[] = {
        {Key::MoveToPreviousChar, Key::SelectPreviousChar, Step::Character, Direction::Backward},
        {Key::MoveToNextChar, Key::SelectNextChar, Step::Character, Direction::Forward},
        {Key::MoveToPreviousWord, Key::SelectPreviousWord, Step::Word, Direction::Backward},
        {Key::MoveToNextWord, Key::SelectNextWord, Step::Word, Direction::Forward},
        {Key::MoveToPreviousLine, Key::SelectPreviousLine, Step::Row, Direction::Backward},
        {Key::MoveToNextLine, Key::SelectNextLine, Step::Row, Direction::Forward},
        {Key::MoveToPreviousPage, Key::SelectPreviousPage, Step::Page, Direction::Backward},
        {Key::MoveToNextPage, Key::SelectNextPage, Step::Page, Direction::Forward},
        {Key::MoveToStartOfLine, Key::SelectStartOfLine, Step::RowEdge, Direction::Backward},
        {Key::MoveToEndOfLine, Key::SelectEndOfLine, Step::RowEdge, Direction::Forward},
        {Key::MoveToStartOfDocument, Key::SelectStartOfDocument, Step::LogEdge, Direction::Backward},
        {Key::MoveToEndOfDocument, Key::SelectEndOfDocument, Step::LogEdge, Direction::Forward},
    };
    for (const Binding &binding : bindings) {
        if (event.matches(binding.extend))
            return LogCaret::Move{binding.step, binding.direction, LogCaret::Mode::Extend};
        if (event.matches(binding.move))
            return LogCaret::Move{binding.step, binding.direction, LogCaret::Mode::Move};
    }
    return std::nullopt;
}

}  // namespace

LogTextArea::LogTextArea(const LogBuffer &log, const QString &bottomId, Clipboard &clipboard, QWidget *parent)
    : QAbstractScrollArea(parent),
      log(log),
      clipboard(clipboard),
      layout(log),
      view(layout),
      selected(log),
      geometry(layout, view, font),
      caret(layout, view, selected, geometry),
      follower(view, [this] { showView(); }),
      drag(new LogDrag(viewport())),
      marker(new QWidget(viewport())) {
    assertMainThread();
    installConsoleRoles();
    setFrameStyle(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    viewport()->setCursor(Qt::IBeamCursor);

    marker->setObjectName(bottomId);
    marker->setAttribute(Qt::WA_TransparentForMouseEvents);
    marker->setAttribute(Qt::WA_NoSystemBackground);

    connect(drag, &LogDrag::scrollWanted, this,
            [this](qreal pixels) { scrollByUser(view.offset() + std::llround(pixels)); });
    connect(drag, &LogDrag::moved, this, &LogTextArea::selectTo);
    connect(drag, &LogDrag::ended, this, &LogTextArea::offerSelection);
    new LogAnnouncer(*this);
}

// When the log is read, and the view brought up to date.

bool LogTextArea::isOnScreen() const {
    const QWindow *const shownIn = window()->windowHandle();
    return isVisible() && !window()->isMinimized() && shownIn != nullptr && shownIn->isExposed();
}

bool LogTextArea::canAnimate() const {
    return isOnScreen() && style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0;
}

void LogTextArea::logChanged() {
    assertMainThread();
    if (refreshTimer.isActive())
        return;
    if (isOnScreen())
        scheduleRefresh();
    else
        refreshWhenSeen();
}

void LogTextArea::refreshWhenSeen() {
    // Qt paints on an expose only what is marked to be painted, and keeps the mark until the window can be
    // seen.
    if (!std::exchange(changedUnseen, true))
        viewport()->update();
}

void LogTextArea::scheduleRefresh() {
    if (refreshTimer.isActive())
        return;
    const qreal rate = screen() != nullptr ? std::max(screen()->refreshRate(), 30.0) : 60.0;
    const auto interval = static_cast<qint64>(std::ceil(screenRefreshesBetweenReads * 1000 / rate));
    const qint64 wait =
        sinceRefresh.isValid() ? std::clamp<qint64>(interval - sinceRefresh.elapsed(), 0, interval) : 0;
    refreshTimer.start(static_cast<int>(wait), Qt::PreciseTimer, this);
}

void LogTextArea::syncLayout() {
    if (layout.isCurrent())
        return;
    // The text under the pointer must not move during a drag.
    view.sync(drag->isActive() ? LogViewport::Hold::Text : follower.hold(), bytesCountedAtOnce);
    if (selected.sync())
        Q_EMIT selectionChanged();
}

void LogTextArea::refresh(LogFollower::Movement movement) {
    refreshTimer.stop();
    sinceRefresh.start();
    syncLayout();
    follower.follow(log.size(), movement);
    showView();
    countRowsWhenQuiet();
    Q_EMIT refreshed();
}

void LogTextArea::countRowsWhenQuiet() {
    if (!layout.isExact() && isVisible())
        countTimer.start(quietMilliseconds, Qt::CoarseTimer, this);
}

void LogTextArea::showView() {
    syncLayout();
    view.settle();
    updateScrollBar();
    std::vector<LogViewport::VisibleRow> now = view.visibleRows();
    if (now != rows) {
        rows = std::move(now);
        viewport()->update();
    }
    const qint64 top = layout.markerBottom() - LogLayout::markerHeight - view.offset();
    marker->setGeometry(LogLayout::padding, static_cast<int>(std::clamp<qint64>(top, -1, view.viewHeight())),
                        std::max(viewport()->width() - 2 * LogLayout::padding, 0), LogLayout::markerHeight);
    updateNewest();
}

void LogTextArea::updateNewest() {
    const bool isShown =
        layout.isEmpty() || follower.isMoving() || view.followOffset() - view.offset() < layout.rowHeight();
    if (std::exchange(newestIsShown, isShown) != isShown)
        Q_EMIT showsNewestChanged();
}

void LogTextArea::updateGrid() {
    const QFont wanted = Theme::console();
    const qreal ratio = devicePixelRatioF();
    if (!font.isFor(wanted, ratio))
        font = ConsoleFont(wanted, ratio);
    const qreal width = viewport()->width() - 2 * LogLayout::padding;
    view.setHeight(viewport()->height());
    view.setGrid(std::max(static_cast<int>(width / font.cellWidth()), 1), font.rowHeight());
    if (!wasShown)
        return;
    showView();
    viewport()->update();
    countRowsWhenQuiet();
}

void LogTextArea::resizeEvent(QResizeEvent *) {
    updateGrid();
}

void LogTextArea::showEvent(QShowEvent *event) {
    QAbstractScrollArea::showEvent(event);
    updateGrid();
    changedUnseen = false;
    refresh(wasShown ? LogFollower::Movement::Immediate : LogFollower::Movement::None);
    wasShown = true;
}

void LogTextArea::hideEvent(QHideEvent *event) {
    if (follower.isMoving()) {
        follower.stop();
        syncLayout();
        follower.jumpToEnd();
    }
    if (refreshTimer.isActive())
        refreshWhenSeen();
    refreshTimer.stop();
    countTimer.stop();
    drag->cancel();
    QAbstractScrollArea::hideEvent(event);
}

void LogTextArea::changeEvent(QEvent *event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ActivationChange)
        viewport()->update();
}

bool LogTextArea::event(QEvent *event) {
    // With the focus here, Copy and Select All are for this area even if a menu has them as shortcuts.
    if (event->type() == QEvent::ShortcutOverride) {
        auto *const key = static_cast<QKeyEvent *>(event);
        if (key->matches(QKeySequence::Copy) || key->matches(QKeySequence::SelectAll)) {
            event->accept();
            return true;
        }
    }
    if (event->type() == QEvent::FontChange)
        updateGrid();
    // An alert has come; no widget gets the release of the button.
    if (event->type() == QEvent::WindowBlocked)
        drag->end();
    return QAbstractScrollArea::event(event);
}

void LogTextArea::timerEvent(QTimerEvent *event) {
    if (event->timerId() == refreshTimer.timerId()) {
        refreshTimer.stop();
        if (!font.isFor(Theme::console(), devicePixelRatioF()))
            updateGrid();
        const bool wasSeen = !std::exchange(changedUnseen, false);
        refresh(wasSeen && canAnimate() ? LogFollower::Movement::Animated : LogFollower::Movement::Immediate);
    } else if (event->timerId() == countTimer.timerId()) {
        syncLayout();
        view.measureFor(countingPortion);
        showView();
        if (layout.isExact())
            countTimer.stop();
        else
            countTimer.start(pauseMilliseconds, Qt::CoarseTimer, this);
    } else {
        QAbstractScrollArea::timerEvent(event);
    }
}

void LogTextArea::paintEvent(QPaintEvent *event) {
    // The log may have changed while the area was not on screen, and the screen's density with it.
    if (changedUnseen || !layout.isCurrent() || !font.isFor(Theme::console(), devicePixelRatioF()))
        scheduleRefresh();
    if (!layout.isCurrent()) {
        syncLayout();
        rows = view.visibleRows();
    }

    QPainter painter(viewport());
    painter.fillRect(event->rect(), Theme::textBackground(palette()));
    const bool active = hasFocus() && isActiveWindow();
    const LogPainter logPainter{
        .log = log,
        .font = font,
        .palette = palette(),
        .group = active ? QPalette::Active : QPalette::Inactive,
        .selection = selected.span(),
        .selectionIsHit = selectionIsHit,
        .caret = active && caret.isShown() ? std::optional(selected.caret()) : std::nullopt,
        .hits = hits,
        .left = geometry.textLeft(),
        .width = geometry.textWidth()};
    logPainter.paint(painter, rows);
    if (active) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.rect = viewport()->rect();
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
    }
}

void LogTextArea::setHits(HitsOfRow hitsOfRow) {
    hits = std::move(hitsOfRow);
    viewport()->update();
}

void LogTextArea::setSelectionIsHit(bool isHit) {
    selectionIsHit = isHit;
    viewport()->update();
}

// Scrolling.

void LogTextArea::updateScrollBar() {
    barUnit = view.maximum() / maxBarValue + 1;
    const QScopedValueRollback updating(isUpdatingBar, true);
    QScrollBar *const bar = verticalScrollBar();
    bar->setSingleStep(static_cast<int>(std::max<qint64>(layout.rowHeight() / barUnit, 1)));
    bar->setPageStep(
        static_cast<int>(std::max<qint64>((view.viewHeight() - layout.rowHeight()) / barUnit, 1)));
    bar->setRange(0, static_cast<int>(view.maximum() / barUnit));
    // The new range may have shown or hidden the bar, which changes the width and so every offset.
    bar->setValue(static_cast<int>(view.offset() / barUnit));
}

void LogTextArea::scrollContentsBy(int, int) {
    if (isUpdatingBar)
        return;
    const QScrollBar *const bar = verticalScrollBar();
    scrollByUser(bar->value() == bar->maximum() ? view.maximum() : bar->value() * barUnit);
}

void LogTextArea::scrollByUser(qint64 offset) {
    follower.scrollTo(offset);
    showView();
}

void LogTextArea::stopFollowing() {
    follower.stop();
    updateNewest();
}

void LogTextArea::scrollToNewest() {
    syncLayout();
    follower.stop();
    follower.jumpToEnd();
    scrollByUser(view.maximum());
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
            scrollToNewest();
            return true;
        default:
            return false;
    }
}

// Positions, and the selection.

std::optional<LogPosition> LogTextArea::topOfView() {
    syncLayout();
    const std::optional<LogRow> row = view.rowAt(0);
    return row ? std::optional(LogPosition{row->sequence, row->begin}) : std::nullopt;
}

std::optional<LogPosition> LogTextArea::positionAt(QPointF point) {
    syncLayout();
    return log.isEmpty() ? std::nullopt : std::optional(geometry.positionAt(point));
}

QRectF LogTextArea::rectangleOf(LogPosition position) {
    syncLayout();
    return log.isEmpty() ? QRectF(geometry.textLeft(), LogLayout::padding, 0, font.rowHeight())
                         : geometry.rectangleOf(position);
}

LogSpan LogTextArea::spanOfRow(LogPosition position) {
    Q_ASSERT(!log.isEmpty());
    syncLayout();
    const LogRow row = layout.rowOf(LogText::clamped(log, position));
    return {{row.sequence, row.begin}, {row.sequence, row.next}};
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

// The keyboard.

void LogTextArea::focusInEvent(QFocusEvent *event) {
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void LogTextArea::focusOutEvent(QFocusEvent *event) {
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

bool LogTextArea::moveByKey(const QKeyEvent &event) {
    const std::optional<LogCaret::Move> move = caretMoveOf(event);
    if (!move)
        return false;
    follower.stop();
    selectBy([&] { caret.move(*move); });
    reveal(selected.caret());
    if (move->mode == LogCaret::Mode::Extend)
        offerSelection();
    return true;
}

// The mouse.

void LogTextArea::mousePressEvent(QMouseEvent *event) {
    const std::optional<LogPosition> position = positionAt(event->position());
    if (event->button() != Qt::LeftButton || !position) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    stopFollowing();
    caret.hide();
    const LogSelection::Unit unit = drag->press(event->position());
    const bool extends =
        unit == LogSelection::Unit::Character && event->modifiers().testFlag(Qt::ShiftModifier);
    selectBy([&] {
        if (extends)
            selected.extendTo(*position);
        else
            selected.begin(*position, unit);
    });
    event->accept();
}

void LogTextArea::mouseDoubleClickEvent(QMouseEvent *event) {
    const std::optional<LogPosition> position = positionAt(event->position());
    if (event->button() != Qt::LeftButton || !position)
        return;
    drag->doubleClick(event->position());
    selectBy([&] { selected.begin(*position, LogSelection::Unit::Word); });
    event->accept();
}

void LogTextArea::mouseMoveEvent(QMouseEvent *event) {
    if (event->buttons().testFlag(Qt::LeftButton))
        drag->moveTo(event->position());
    else
        drag->end();
}

void LogTextArea::mouseReleaseEvent(QMouseEvent *event) {
    if (event->button() == Qt::LeftButton)
        drag->end();
}

void LogTextArea::selectTo(QPointF point) {
    const qreal bottom = std::max(viewport()->height() - 1.0, 0.0);
    const std::optional<LogPosition> position =
        positionAt(QPointF(point.x(), std::clamp(point.y(), 0.0, bottom)));
    if (position)
        selectBy([&] { selected.extendTo(*position); });
}

void LogTextArea::contextMenuEvent(QContextMenuEvent *event) {
    if (contextMenu == nullptr)
        return;
    syncLayout();
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    contextMenu->popup(byKey ? viewport()->mapToGlobal(QPoint(LogLayout::padding, LogLayout::padding))
                             : event->globalPos());
}

}  // namespace ferrolt
