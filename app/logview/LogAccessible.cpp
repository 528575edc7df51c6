#include "LogAccessible.h"

#include "LogText.h"
#include "LogTextArea.h"
#include "MainQueue.h"
#include "PerElement.h"
#include "StatusBadge.h"
#include "Utf16.h"
#include "Utf16Index.h"

#include <QAccessible>
#include <QAccessibleWidget>

#include <algorithm>

namespace ferrolt {
namespace {

/// Up to this much text of one refresh is reported to screen readers as inserted or removed, which makes them
/// read it out; more is reported without its text.
constexpr std::size_t maxReportedBytes = 8 * 1024;

class LogTextInterface final : public QAccessibleWidget, public QAccessibleTextInterface {
  public:
    explicit LogTextInterface(LogTextArea *area)
        : QAccessibleWidget(area, QAccessible::EditableText), log(area->buffer()), index(log) {}

    void *interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TextInterface)
            return static_cast<QAccessibleTextInterface *>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.readOnly = true;
        state.multiLine = true;
        state.selectableText = true;
        return state;
    }

    // Scroll bars and marker have nothing to read.
    int childCount() const override { return 0; }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }

    int characterCount() const override { return index.size(); }

    QString text(int start, int end) const override {
        return log.isEmpty() ? QString() : textOf({index.positionAt(start), index.positionAt(end)});
    }
    using QAccessibleWidget::text;

    int cursorPosition() const override { return index.unitsBefore(area()->selection().caret()); }
    void setCursorPosition(int position) override {
        if (!log.isEmpty())
            area()->moveCaret(index.positionAt(position));
    }

    int selectionCount() const override { return area()->hasSelection() ? 1 : 0; }
    void selection(int number, int *start, int *end) const override {
        const bool there = number == 0 && area()->hasSelection();
        *start = there ? index.unitsBefore(area()->selection().span().begin) : 0;
        *end = there ? index.unitsBefore(area()->selection().span().end) : 0;
    }
    void addSelection(int start, int end) override { setSelection(0, start, end); }
    void removeSelection(int number) override {
        if (number == 0)
            setCursorPosition(cursorPosition());
    }
    void setSelection(int number, int start, int end) override {
        if (number == 0 && !log.isEmpty())
            area()->select(spanBetween(index.positionAt(start), index.positionAt(end)));
    }

    QRect characterRect(int offset) const override {
        if (log.isEmpty())
            return QRect();
        const QRect box = area()->rectangleOf(index.positionAt(offset)).toAlignedRect();
        return QRect(area()->viewport()->mapToGlobal(box.topLeft()), box.size());
    }
    int offsetAtPoint(const QPoint &point) const override {
        const auto place = area()->positionAt(area()->viewport()->mapFromGlobal(QPointF(point)));
        return place ? index.unitsBefore(*place) : -1;
    }
    void scrollToSubstring(int start, int) override {
        if (!log.isEmpty())
            area()->reveal(index.positionAt(start));
    }

    QString attributes(int, int *start, int *end) const override {
        *start = 0;
        *end = characterCount();
        return QString();
    }

    // QAccessibleTextInterface's own implementations of these three convert the whole log for each call.
    QString textAtOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                         int *end) const override {
        return log.isEmpty() ? noText(start, end)
                             : withOffsets(unitAt(index.positionAt(offset), boundary), start, end);
    }
    QString textBeforeOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                             int *end) const override {
        if (log.isEmpty())
            return noText(start, end);
        const LogPosition begin = unitAt(index.positionAt(offset), boundary).begin;
        return begin == LogText::begin(log)
                   ? noText(start, end)
                   : withOffsets(unitAt(LogText::previousCharacter(log, begin), boundary), start, end);
    }
    QString textAfterOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                            int *end) const override {
        if (log.isEmpty())
            return noText(start, end);
        const LogPosition after = unitAt(index.positionAt(offset), boundary).end;
        return after >= LogText::end(log) ? noText(start, end)
                                          : withOffsets(unitAt(after, boundary), start, end);
    }

  private:
    LogTextArea *area() const { return static_cast<LogTextArea *>(widget()); }

    QString textOf(LogSpan span) const {
        QByteArray joined;
        for (const QByteArray &piece : LogText::pieces(log, span))
            joined += piece;
        return utf16Of(joined);
    }

    static QString noText(int *start, int *end) {
        *start = *end = -1;
        return QString();
    }

    QString withOffsets(LogSpan span, int *start, int *end) const {
        *start = index.unitsBefore(span.begin);
        *end = index.unitsBefore(span.end);
        return textOf(span);
    }

    LogSpan unitAt(LogPosition place, QAccessible::TextBoundaryType boundary) const {
        const auto size = static_cast<std::size_t>(log.bySequence(place.sequence).size());
        if (count(place.offset) >= size && log.holds(place.sequence + 1))
            place = {place.sequence + 1, ByteOffset{0}};
        switch (boundary) {
            case QAccessible::CharBoundary:
                return {place, LogText::nextCharacter(log, place)};
            case QAccessible::WordBoundary:
                return LogText::wordAt(log, place);
            case QAccessible::LineBoundary:
                return area()->spanOfRow(place);
            case QAccessible::SentenceBoundary:
            case QAccessible::ParagraphBoundary:
                return LogText::lineAt(log, place);
            case QAccessible::NoBoundary:
                break;
        }
        return LogText::whole(log);
    }

    const LogBuffer &log;
    mutable Utf16Index index;
};

/// Reports changes of an area's text, caret and selection to assistive technology.
class Announcer : public QObject {
  public:
    explicit Announcer(LogTextArea &area)
        : QObject(&area), area(area), index(area.buffer()), texts(area.buffer()) {
        connect(&area, &LogTextArea::refreshed, this, &Announcer::announceText);
        connect(&area, &LogTextArea::caretMoved, this, [this] {
            if (QAccessible::isActive())
                announceCaret();
        });
        connect(&area, &LogTextArea::selectionChanged, this, [this] {
            if (QAccessible::isActive())
                announceSelection();
        });
    }

  private:
    void announceText() {
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

    /// From this element to the end of the log.
    void announceInsertion(std::uint64_t from) {
        const LogBuffer &log = area.buffer();
        std::size_t bytes = 0;
        for (std::uint64_t i = from; i < log.endSequence() && bytes <= maxReportedBytes; ++i)
            bytes += sizeOf(log.bySequence(i));
        if (bytes > maxReportedBytes) {
            announceDataChange();
            return;
        }
        QByteArray text;
        for (std::uint64_t i = from; i < log.endSequence(); ++i)
            text += log.bySequence(i);
        QAccessibleTextInsertEvent event(&area, index.unitsBefore({from, ByteOffset{0}}), utf16Of(text));
        QAccessible::updateAccessibility(&event);
    }

    void announceRemoval() {
        QByteArray removed;
        bool isWhole = true;
        texts.sync(
            [](const LogElement &text) { return sizeOf(text) <= maxReportedBytes ? text : QByteArray(); },
            [&](std::uint64_t sequence) {
                isWhole = isWhole && !texts[sequence].isNull() && sizeOf(removed) <= maxReportedBytes;
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

    void announceDataChange() {
        QAccessibleEvent event(&area, QAccessible::VisibleDataChanged);
        QAccessible::updateAccessibility(&event);
    }

    void announceCaret() {
        QAccessibleTextCursorEvent event(&area, index.unitsBefore(area.selection().caret()));
        QAccessible::updateAccessibility(&event);
    }

    void announceSelection() {
        const LogSpan span = area.selection().span();
        QAccessibleTextSelectionEvent event(&area, index.unitsBefore(span.begin),
                                            index.unitsBefore(span.end));
        QAccessible::updateAccessibility(&event);
    }

    static std::size_t sizeOf(const QByteArray &text) { return static_cast<std::size_t>(text.size()); }

    LogTextArea &area;
    Utf16Index index;
    std::uint64_t announcedEnd = 0;  ///< elements before this sequence number were announced
    /// The announced texts, to report them when they are dropped; they share their bytes with the log. Null
    /// for texts that are too long to be reported.
    PerElement<QByteArray> texts;
};

QAccessibleInterface *interfaceFor(const QString &, QObject *object) {
    if (auto *area = qobject_cast<LogTextArea *>(object))
        return new LogTextInterface(area);
    if (auto *badge = qobject_cast<StatusBadge *>(object))
        return new QAccessibleWidget(badge, QAccessible::StaticText);
    return nullptr;
}

}  // namespace

void installConsoleRoles() {
    Q_ASSERT(MainQueue::isMainThread());
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory(interfaceFor);
        return true;
    }();
}

void announceChanges(LogTextArea &area) {
    Q_ASSERT(MainQueue::isMainThread());
    new Announcer(area);
}

}  // namespace ferrolt
