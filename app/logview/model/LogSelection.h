#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"

namespace ferrolt {

/// What is selected in a log, and the caret, which is the end that moves. A selection that was begun with a
/// double or a triple click grows by words or by lines. It stays on its text while older elements drop off
/// the top; what drops off is no longer selected.
class LogSelection {
  public:
    enum class Unit { Character, Word, Line };

    /// `log` must outlive the selection.
    explicit LogSelection(const LogBuffer &log) : log(log) {}

    LogSpan span() const { return selected; }
    bool isEmpty() const { return selected.isEmpty(); }
    LogPosition caret() const { return caretPosition; }

    /// Puts the caret at a place and selects the unit around it; nothing, for a character.
    void begin(LogPosition position, Unit unit = Unit::Character);
    /// Selects from where the selection was begun up to this place, by the unit that it was begun with.
    void extendTo(LogPosition position);
    /// Moves the end that the caret is at, character by character, however the selection was begun.
    void moveEndTo(LogPosition position);
    void select(LogSpan span);
    void clear() { begin(caretPosition); }

    /// Follows the log after elements were dropped or appended. Whether what is selected is another text now.
    bool sync();

  private:
    LogSpan unitAt(LogPosition position) const;
    void dropSpanWithoutText();

    const LogBuffer &log;
    Unit unit = Unit::Character;
    LogSpan origin;  ///< what was selected when the selection was begun
    LogSpan selected;
    LogPosition caretPosition;
};

}  // namespace ferrolt
