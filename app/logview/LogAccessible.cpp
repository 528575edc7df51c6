#include "LogAccessible.h"

#include "LogText.h"
#include "LogTextArea.h"
#include "MainQueue.h"
#include "StatusBadge.h"
#include "Utf16.h"
#include "Utf16Index.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace ferrolt {
namespace {

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

QAccessibleInterface *interfaceFor(const QString &, QObject *object) {
    if (auto *area = qobject_cast<LogTextArea *>(object))
        return new LogTextInterface(area);
    if (auto *badge = qobject_cast<StatusBadge *>(object))
        return new QAccessibleWidget(badge, QAccessible::StaticText);
    return nullptr;
}

}  // namespace

void installConsoleRoles() {
    assertMainThread();
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory(interfaceFor);
        return true;
    }();
}

}  // namespace ferrolt
