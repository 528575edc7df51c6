#include "LogSearch.h"

#include "FindBar.h"
#include "LogText.h"
#include "LogTextArea.h"
#include "MainQueue.h"
#include "Utf16.h"

#include <QAccessible>
#include <QLayout>
#include <QTimerEvent>

namespace ferrolt {
namespace {

using namespace std::chrono_literals;

/// Portions too short to be noticed, with pauses that leave most of the time to everything else.
constexpr auto portion = 4ms;
constexpr int searchPauseMilliseconds = 8;
/// The result is spoken this long after the last key, not after each of several.
constexpr int speechMilliseconds = 500;

/// The UTF-8 bytes for each UTF-16 unit, at most.
constexpr qsizetype maxUtf8PerUnit = 3;

}  // namespace

LogSearch::LogSearch(LogTextArea &area, FindBar &bar, Clipboard &clipboard, QObject *parent)
    : QObject(parent), area(area), bar(bar), clipboard(clipboard), finder(area.buffer()) {
    assertMainThread();
    bar.hide();
    connect(&bar, &FindBar::textChanged, this, &LogSearch::setNeedle);
    connect(&bar, &FindBar::nextWanted, this, [this] { find(Direction::Forward); });
    connect(&bar, &FindBar::previousWanted, this, [this] { find(Direction::Backward); });
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

/// The first line of the selection, as far as the bar takes it.
QString LogSearch::selectedLine() const {
    if (!area.hasSelection())
        return QString();
    QString line = utf16Of(
        LogText::firstLine(area.buffer(), area.selection().span(), FindBar::maxTextLength * maxUtf8PerUnit));
    line.truncate(FindBar::maxTextLength);
    if (!line.isEmpty() && line.back().isHighSurrogate())
        line.chop(1);
    return line;
}

void LogSearch::open() {
    if (!bar.hasKeyboard()) {
        const QString selected = selectedLine();
        show(selected.isEmpty() ? clipboard.findText() : selected);
        if (!selected.isEmpty())
            startSearch(area.selection().span().begin, Direction::Forward);
    }
    bar.focusField();
}

/// Shows the bar with this text, and marks its hits.
void LogSearch::show(const QString &text) {
    if (isOpen() && text == bar.text())
        return;
    bar.setText(text);
    clipboard.setFindText(bar.text());
    finder.setNeedle(bar.text());
    area.setHits(
        [this](const LogRow &row) { return finder.hitsBetween(row.sequence, row.begin, row.textEnd); });
    if (!isOpen()) {
        bar.show();
        // The area gets its new height now: later, a hit that was scrolled to could end up below its edge.
        bar.parentWidget()->layout()->activate();
    }
    work();
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
    clipboard.setFindText(text);
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
    takeLastText();
    find(Direction::Forward);
}

void LogSearch::findPrevious() {
    takeLastText();
    find(Direction::Backward);
}

void LogSearch::takeLastText() {
    const QString last = clipboard.findText();
    if (!bar.hasKeyboard() && !last.isEmpty())
        show(last);
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
            // A hit over two elements takes two rows or more. Its beginning has precedence.
            area.reveal(finder.found().end);
            area.reveal(finder.found().begin);
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
