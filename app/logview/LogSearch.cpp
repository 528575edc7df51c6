#include "LogSearch.h"

#include "FindBar.h"
#include "LogTextArea.h"
#include "MainQueue.h"

#include <QAccessible>
#include <QTimerEvent>

namespace ferrolt {
namespace {

using namespace std::chrono_literals;

/// Portions too short to be noticed, with pauses that leave most of the time to everything else.
constexpr auto portion = 4ms;
constexpr int searchPauseMilliseconds = 8;
/// The result is spoken this long after the last key, not after each of several.
constexpr int speechMilliseconds = 500;

}  // namespace

LogSearch::LogSearch(LogTextArea &area, FindBar &bar, QObject *parent)
    : QObject(parent), area(area), bar(bar), finder(area.buffer()) {
    assertMainThread();
    bar.hide();
    connect(&bar, &FindBar::textChanged, this, &LogSearch::setNeedle);
    connect(&bar, &FindBar::nextWanted, this, &LogSearch::findNext);
    connect(&bar, &FindBar::previousWanted, this, &LogSearch::findPrevious);
    connect(&bar, &FindBar::closeWanted, this, &LogSearch::close);
    connect(&area, &LogTextArea::refreshed, this, [this] {
        if (isOpen())
            work();
    });
    connect(&area, &LogTextArea::selectionChanged, this, [this] {
        if (isOpen())
            showResult();
    });
}

bool LogSearch::isOpen() const {
    return !bar.isHidden();
}

void LogSearch::open() {
    if (!isOpen()) {
        bar.show();
        finder.setNeedle(bar.text());
        area.setHits(
            [this](const LogRow &row) { return finder.hitsBetween(row.sequence, row.begin, row.textEnd); });
        work();
    }
    bar.focusField();
}

void LogSearch::close() {
    if (!isOpen())
        return;
    workTimer.stop();
    speechTimer.stop();
    finder.setNeedle(QString());
    area.setHits({});
    area.setSelectionIsHit(false);
    area.setFocus(Qt::ShortcutFocusReason);
    bar.hide();
}

void LogSearch::setNeedle(const QString &text) {
    finder.setNeedle(text);
    speakSoon();
    area.viewport()->update();
    if (!finder.hasNeedle()) {
        area.setSelectionIsHit(false);
        workTimer.stop();
        showResult();
        return;
    }
    // From the selection, so that the hit grows while the user types; else from the top of the screen.
    const std::optional<LogPosition> top = area.topOfView();
    if (top)
        startSearch(area.hasSelection() ? area.selection().span().begin : *top, Direction::Forward);
    showResult();
}

void LogSearch::findNext() {
    find(Direction::Forward);
}

void LogSearch::findPrevious() {
    find(Direction::Backward);
}

void LogSearch::find(Direction direction) {
    if (!isOpen() || !finder.hasNeedle()) {
        open();
        return;
    }
    const std::optional<LogPosition> top = area.topOfView();
    const LogSpan selection = area.selection().span();
    if (top && !area.hasSelection())
        startSearch(*top, direction);
    else if (top)
        startSearch(direction == Direction::Forward ? selection.end : selection.begin, direction);
}

void LogSearch::startSearch(LogPosition from, Direction direction) {
    finder.startSearch(from, direction);
    speakSoon();
    work();
}

void LogSearch::work() {
    finder.sync();
    if (finder.isSearching()) {
        const LogFinder::Answer answer = finder.searchFor(portion);
        if (answer == LogFinder::Answer::Found) {
            area.select(finder.found());
            area.setSelectionIsHit(true);
        } else if (answer == LogFinder::Answer::Nothing) {
            area.setSelectionIsHit(false);
        }
    } else if (!finder.isCounted()) {
        finder.countFor(portion);
    }
    if (isWorking())
        workTimer.start(searchPauseMilliseconds, Qt::PreciseTimer, this);
    else
        workTimer.stop();
    showResult();
}

void LogSearch::timerEvent(QTimerEvent *event) {
    if (event->timerId() == workTimer.timerId()) {
        // Off screen the work rests; the area's next refresh continues it.
        workTimer.stop();
        if (area.isVisible())
            work();
    } else if (event->timerId() == speechTimer.timerId()) {
        if (area.isVisible() && isWorking())
            return;  // the timer repeats
        speechTimer.stop();
        bar.speakResult();
    }
}

/// For results of what the user does. Those that change as the log grows are not spoken.
void LogSearch::speakSoon() {
    if (QAccessible::isActive())
        speechTimer.start(speechMilliseconds, this);
}

void LogSearch::showResult() {
    if (!finder.hasNeedle()) {
        bar.setResult(QString());
    } else if (!finder.isCounted()) {
        bar.setResult(tr("Searching…"));
    } else if (finder.total() == 0) {
        bar.setResult(tr("Not found"));
    } else {
        const auto number = finder.numberOf(area.selection().span().begin);
        bar.setResult(number && area.hasSelection() ? tr("%1 of %2").arg(*number).arg(finder.total())
                                                    : tr("%1 found").arg(finder.total()));
    }
}

}  // namespace ferrolt
