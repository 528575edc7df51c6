#include "LogAnnouncer.h"

#include "LogTextArea.h"
#include "MainQueue.h"
#include "Utf16.h"

#include <QAccessible>

#include <algorithm>

namespace ferrolt {
namespace {

/// Up to this much text of one refresh is reported to screen readers as inserted or removed, which makes them
/// read it out; more is reported without its text.
constexpr qsizetype maxReportedBytes = 8 * 1024;

}  // namespace

LogAnnouncer::LogAnnouncer(LogTextArea &area)
    : QObject(&area), area(area), index(area.buffer()), texts(area.buffer()) {
    assertMainThread();
    connect(&area, &LogTextArea::refreshed, this, &LogAnnouncer::announceText);
    connect(&area, &LogTextArea::caretMoved, this, &LogAnnouncer::announceCaret);
    connect(&area, &LogTextArea::selectionChanged, this, &LogAnnouncer::announceSelection);
}

void LogAnnouncer::announceText() {
    const LogBuffer &log = area.buffer();
    const std::uint64_t from = std::max(announcedEnd, log.firstSequence());
    announcedEnd = log.endSequence();
    if (!QAccessible::isActive()) {
        texts.clear();
        return;
    }
    announceRemoval();
    if (from < announcedEnd)
        announceInsertion(from);
}

void LogAnnouncer::announceInsertion(std::uint64_t firstSequence) {
    const LogBuffer &log = area.buffer();
    QByteArray text;
    for (std::uint64_t i = firstSequence; i < log.endSequence(); ++i) {
        text += log.bySequence(i);
        if (text.size() > maxReportedBytes) {
            announceDataChange();
            return;
        }
    }
    QAccessibleTextInsertEvent event(&area, index.unitsBefore({firstSequence, ByteOffset{0}}), utf16Of(text));
    QAccessible::updateAccessibility(&event);
}

void LogAnnouncer::announceRemoval() {
    QByteArray removed;
    bool isWhole = true;
    texts.sync([](const LogElement &text) { return text.size() <= maxReportedBytes ? text : QByteArray(); },
               [&](std::uint64_t sequence) {
                   isWhole = isWhole && !texts[sequence].isNull() && removed.size() <= maxReportedBytes;
                   removed += texts[sequence];
               });
    if (isWhole && removed.isEmpty())
        return;
    if (isWhole) {
        QAccessibleTextRemoveEvent event(&area, 0, utf16Of(removed));
        QAccessible::updateAccessibility(&event);
    } else {
        announceDataChange();
    }
    // Removal at the beginning changes the offset of everything that is left.
    announceCaret();
}

void LogAnnouncer::announceDataChange() {
    QAccessibleEvent event(&area, QAccessible::VisibleDataChanged);
    QAccessible::updateAccessibility(&event);
}

void LogAnnouncer::announceCaret() {
    if (!QAccessible::isActive())
        return;
    QAccessibleTextCursorEvent event(&area, index.unitsBefore(area.selection().caret()));
    QAccessible::updateAccessibility(&event);
}

void LogAnnouncer::announceSelection() {
    if (!QAccessible::isActive())
        return;
    const LogSpan span = area.selection().span();
    QAccessibleTextSelectionEvent event(&area, index.unitsBefore(span.begin), index.unitsBefore(span.end));
    QAccessible::updateAccessibility(&event);
}

}  // namespace ferrolt
