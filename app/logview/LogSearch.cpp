#include "LogSearch.h"

#include "FindBar.h"
#include "LogTextArea.h"

#include <QAccessible>
#include <QTimerEvent>

namespace ferrolt {
namespace {

using namespace std::chrono_literals;

/// Short enough for nobody to notice, and with pauses that leave most of the time to everything else.
constexpr auto turn = 4ms;
constexpr int pauseMilliseconds = 8;
/// Somebody who types, or goes on to the next hit and the next, is not told of each on the way.
constexpr int speechMilliseconds = 500;

}  // namespace

LogSearch::LogSearch(LogTextArea &area, FindBar &bar, QObject *parent)
    : QObject(parent), area(area), bar(bar), finder(area.buffer()) {
    bar.hide();
    connect(&bar, &FindBar::textChanged, this, &LogSearch::setNeedle);
    connect(&bar, &FindBar::nextWanted, this, &LogSearch::findNext);
    connect(&bar, &FindBar::previousWanted, this, &LogSearch::findPrevious);
    connect(&bar, &FindBar::closeWanted, this, &LogSearch::close);
    connect(&area, &LogTextArea::refreshed, this, [this] {
        if (isOpen())
            goOn();
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
        Q_EMIT openChanged(true);
        finder.setNeedle(bar.text());
        area.setHits(
            [this](const LogRow &row) { return finder.hitsBetween(row.sequence, row.begin, row.textEnd); });
        goOn();
    }
    bar.focusField();
}

void LogSearch::close() {
    if (!isOpen())
        return;
    timer.stop();
    speechTimer.stop();
    finder.setNeedle(QString());
    area.setHits({});
    area.setSelectionIsHit(false);
    area.setFocus(Qt::ShortcutFocusReason);
    bar.hide();
    Q_EMIT openChanged(false);
}

void LogSearch::setNeedle(const QString &text) {
    finder.setNeedle(text);
    speakSoon();
    area.viewport()->update();
    if (!finder.hasNeedle()) {
        area.setSelectionIsHit(false);
        timer.stop();
        showResult();
        return;
    }
    // From what is selected, so that the hit grows while somebody types; else from what is on screen.
    const std::optional<LogPosition> top = area.topOfView();
    if (top)
        searchFrom(area.hasSelection() ? area.selection().span().begin : *top, Direction::Forward);
    showResult();
}

void LogSearch::findNext() {
    const std::optional<LogPosition> top = area.topOfView();
    if (!isOpen() || !finder.hasNeedle())
        open();
    else if (top)
        searchFrom(area.hasSelection() ? area.selection().span().end : *top, Direction::Forward);
}

void LogSearch::findPrevious() {
    const std::optional<LogPosition> top = area.topOfView();
    if (!isOpen() || !finder.hasNeedle())
        open();
    else if (top)
        searchFrom(area.hasSelection() ? area.selection().span().begin : *top, Direction::Backward);
}

void LogSearch::searchFrom(LogPosition from, Direction direction) {
    finder.startSearch(from, direction);
    speakSoon();
    goOn();
}

void LogSearch::goOn() {
    finder.sync();
    if (finder.isSearching()) {
        const LogFinder::Answer answer = finder.searchFor(turn);
        if (answer == LogFinder::Answer::Found) {
            area.select(finder.found());
            area.setSelectionIsHit(true);
        } else if (answer == LogFinder::Answer::Nothing) {
            area.setSelectionIsHit(false);
        }
    } else if (!finder.isCounted()) {
        finder.countFor(turn);
    }
    if (finder.isSearching() || !finder.isCounted())
        timer.start(pauseMilliseconds, Qt::PreciseTimer, this);
    else
        timer.stop();
    showResult();
}

void LogSearch::timerEvent(QTimerEvent *event) {
    if (event->timerId() == speechTimer.timerId()) {
        if (area.isVisible() && (finder.isSearching() || !finder.isCounted()))
            return;  // and again
        speechTimer.stop();
        bar.speakResult();
    }
    if (event->timerId() != timer.timerId())
        return;
    // Nobody waits for an answer that nobody sees; the next refresh goes on.
    timer.stop();
    if (area.isVisible())
        goOn();
}

/// What was asked for is told, what a log that runs on makes of it is not.
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
