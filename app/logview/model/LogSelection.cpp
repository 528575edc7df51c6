#include "LogSelection.h"

#include "LogText.h"

#include <algorithm>

namespace ferrolt {

LogSpan LogSelection::unitAt(LogPosition position) const {
    Q_ASSERT(log.holds(position.sequence));
    if (unit == Unit::Character)
        return {position, position};
    return unit == Unit::Word ? LogText::wordAt(log, position) : LogText::lineAt(log, position);
}

void LogSelection::begin(LogPosition position, Unit by) {
    unit = by;
    origin = selected = unitAt(position);
    caretPosition = selected.end;
}

void LogSelection::extendTo(LogPosition position) {
    const LogSpan reached = unitAt(position);
    selected = {std::min(origin.begin, reached.begin), std::max(origin.end, reached.end)};
    caretPosition = reached.begin < origin.begin ? selected.begin : selected.end;
    dropSpanWithoutText();
}

void LogSelection::moveEndTo(LogPosition position) {
    const LogPosition fixed = caretPosition == selected.begin ? selected.end : selected.begin;
    unit = Unit::Character;
    origin = {fixed, fixed};
    extendTo(position);
}

void LogSelection::select(LogSpan span) {
    unit = Unit::Character;
    origin = {span.begin, span.begin};
    selected = span;
    caretPosition = span.end;
    dropSpanWithoutText();
}

void LogSelection::dropSpanWithoutText() {
    if (LogText::isEmpty(log, selected))
        selected = {caretPosition, caretPosition};
}

bool LogSelection::sync() {
    if (log.isEmpty())
        return false;
    const LogSpan before = selected;
    for (LogPosition *position : {&origin.begin, &origin.end, &selected.begin, &selected.end, &caretPosition})
        *position = LogText::clamped(log, *position);
    return !before.isEmpty() && before != selected;
}

}  // namespace ferrolt
