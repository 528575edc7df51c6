#include "LogTextArea.h"

#include "LogAccessible.h"
#include "LogScrollBar.h"
#include "Theme.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>
#include <QTimerEvent>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ferrolt {
namespace {

using namespace std::chrono_literals;

constexpr int followMilliseconds = 300;
/// What comes after a pause is shown at once. While a log runs on, nobody can read every frame of it, and
/// drawing a screenful of text is what an everyday child costs.
constexpr int refreshesForEachLook = 4;
/// Counted at once when the log changes, which is everything at an everyday pace.
constexpr std::size_t bytesCountedAtOnce = 64 * 1024;
/// Heights that are still estimates are counted once the log has been quiet for a while, in turns short
/// enough for nobody to notice.
constexpr int quietMilliseconds = 100;
constexpr int pauseMilliseconds = 2;
constexpr auto countingTurn = 4ms;

}  // namespace

LogTextArea::LogTextArea(const LogBuffer &log, const QString &bottomId, Clipboard &clipboard, QWidget *parent)
    : QAbstractScrollArea(parent),
      log(log),
      clipboard(clipboard),
      layout(log),
      view(layout),
      selected(log),
      marker(new QWidget(viewport())),
      bar(new LogScrollBar) {
    installConsoleRoles();
    setFrameStyle(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(bar);
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    viewport()->setCursor(Qt::IBeamCursor);

    marker->setObjectName(bottomId);
    marker->setAttribute(Qt::WA_TransparentForMouseEvents);
    marker->setAttribute(Qt::WA_NoSystemBackground);

    following.setStartValue(0.0);
    following.setEndValue(1.0);
    following.setDuration(followMilliseconds);
    following.setEasingCurve(QEasingCurve::OutCubic);
    connect(&following, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &progress) { follow(progress.toDouble()); });
    announceChanges(*this);
}

bool LogTextArea::isOnScreen() const {
    const QWindow *const shownIn = window()->windowHandle();
    return isVisible() && !window()->isMinimized() && shownIn != nullptr && shownIn->isExposed();
}

void LogTextArea::logChanged() {
    if (refreshTimer.isActive())
        return;  // a thousand times a second
    if (isOnScreen())
        scheduleRefresh();
    else
        refreshWhenSeen();
}

void LogTextArea::refreshWhenSeen() {
    // Qt paints nothing on an expose unless something is marked for it, and keeps the mark until the window
    // can be seen again.
    if (!std::exchange(changedUnseen, true))
        viewport()->update();
}

void LogTextArea::scheduleRefresh() {
    if (refreshTimer.isActive())
        return;
    const qreal rate = screen() != nullptr ? std::max(screen()->refreshRate(), 30.0) : 60.0;
    const auto interval = static_cast<qint64>(std::ceil(refreshesForEachLook * 1000 / rate));
    const qint64 wait =
        sinceRefresh.isValid() ? std::clamp<qint64>(interval - sinceRefresh.elapsed(), 0, interval) : 0;
    refreshTimer.start(static_cast<int>(wait), Qt::PreciseTimer, this);
}

LogViewport::Hold LogTextArea::holdNow() const {
    // What is under the mouse must not move while it selects.
    return dragging ? LogViewport::Hold::Text : hold;
}

void LogTextArea::syncLayout() {
    if (layout.isCurrent())
        return;
    view.sync(holdNow(), bytesCountedAtOnce);
    if (selected.sync())
        Q_EMIT selectionChanged();
}

void LogTextArea::refresh(CatchUp how) {
    refreshTimer.stop();
    sinceRefresh.start();
    syncLayout();
    if (std::exchange(followedCount, log.size()) != log.size() && wasShown) {
        if (how == CatchUp::Moving && isOnScreen())
            startFollowing();
        else
            jumpToEnd();
    }
    showView();
    if (!layout.isExact() && isVisible())
        refineTimer.start(quietMilliseconds, Qt::CoarseTimer, this);
    Q_EMIT refreshed();
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
    if (!layout.isExact() && isVisible())
        refineTimer.start(quietMilliseconds, Qt::CoarseTimer, this);
}

void LogTextArea::resizeEvent(QResizeEvent *) {
    updateGrid();
}

void LogTextArea::showEvent(QShowEvent *event) {
    QAbstractScrollArea::showEvent(event);
    updateGrid();
    changedUnseen = false;
    refresh(CatchUp::AtOnce);
    wasShown = true;
}

void LogTextArea::hideEvent(QHideEvent *event) {
    if (following.state() == QAbstractAnimation::Running) {
        stopFollowing();
        syncLayout();
        jumpToEnd();
    }
    if (refreshTimer.isActive())
        refreshWhenSeen();
    refreshTimer.stop();
    refineTimer.stop();
    dragTimer.stop();
    dragging = false;
    QAbstractScrollArea::hideEvent(event);
}

void LogTextArea::changeEvent(QEvent *event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ActivationChange)
        viewport()->update();
}

bool LogTextArea::event(QEvent *event) {
    // Copy and Select All are this area's own while it has the focus, whatever menu offers them too.
    if (event->type() == QEvent::ShortcutOverride) {
        auto *const key = static_cast<QKeyEvent *>(event);
        if (key->matches(QKeySequence::Copy) || key->matches(QKeySequence::SelectAll)) {
            event->accept();
            return true;
        }
    }
    if (event->type() == QEvent::FontChange)
        updateGrid();
    // An alert has come, and with it the button's release goes to nobody.
    if (event->type() == QEvent::WindowBlocked)
        endDrag();
    return QAbstractScrollArea::event(event);
}

void LogTextArea::timerEvent(QTimerEvent *event) {
    if (event->timerId() == refreshTimer.timerId()) {
        refreshTimer.stop();
        if (!font.isFor(Theme::console(), devicePixelRatioF()))
            updateGrid();
        refresh(std::exchange(changedUnseen, false) ? CatchUp::AtOnce : CatchUp::Moving);
    } else if (event->timerId() == refineTimer.timerId()) {
        syncLayout();
        view.measureFor(countingTurn);
        showView();
        if (layout.isExact())
            refineTimer.stop();
        else
            refineTimer.start(pauseMilliseconds, Qt::CoarseTimer, this);
    } else if (event->timerId() == dragTimer.timerId()) {
        // Something else may have had the release, a menu for instance.
        if (!QGuiApplication::mouseButtons().testFlag(Qt::LeftButton)) {
            endDrag();
            return;
        }
        const qreal beyond =
            dragPoint.y() < 0 ? dragPoint.y() : std::max(dragPoint.y() - viewport()->height(), 0.0);
        scrollByUser(view.offset() + std::llround(beyond));
        dragTo(dragPoint);
    } else {
        QAbstractScrollArea::timerEvent(event);
    }
}

void LogTextArea::paintEvent(QPaintEvent *event) {
    // What changed while nobody could see it, a move to a screen of another density included.
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
        .caret = active && caretShown ? std::optional(selected.caret()) : std::nullopt,
        .hits = hits,
        .left = textLeft(),
        .width = textWidth()};
    logPainter.paint(painter, rows);
    if (active && focusRing.isShown())
        FocusRing::draw(painter, viewport()->rect(), 0, palette());
}

void LogTextArea::setHits(HitsOfRow hitsOfRow) {
    hits = std::move(hitsOfRow);
    viewport()->update();
}

void LogTextArea::setSelectionIsHit(bool isHit) {
    selectionIsHit = isHit;
    viewport()->update();
}

}  // namespace ferrolt
