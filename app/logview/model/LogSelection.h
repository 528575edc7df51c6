#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"

namespace ferrolt {

/// The selected text of a log, and the caret, which is the end of the selection that moves. A selection that
/// began with a double or triple click grows by words or lines. It stays on its text while older elements are
/// dropped; text that is dropped is no longer selected.
class LogSelection {
  public:
    enum class Unit { Character, Word, Line };

    /// `log` must outlive the selection.
    explicit LogSelection(const LogBuffer &log) : log(log) {}

    LogSpan span() const { return selected; }
    bool isEmpty() const { return selected.isEmpty(); }
    LogPosition caret() const { return caretPosition; }

    // Positions must lie in elements that the log holds.

    /// Puts the caret at a position and selects the word or line there; nothing for Unit::Character.
    void begin(LogPosition position, Unit by = Unit::Character);
    /// Selects from where the selection began to this position, by the unit with which it began.
    void extendTo(LogPosition position);
    /// Moves the end at which the caret is to this very position. The unit of the selection does not matter.
    void moveEndTo(LogPosition position);
    void select(LogSpan span);

    /// Follows the log after elements were dropped or appended. Returns whether another text is selected now.
    bool sync();

  private:
    LogSpan unitAt(LogPosition position) const;
    void dropSpanWithoutText();

    const LogBuffer &log;
    Unit unit = Unit::Character;
    LogSpan origin;  ///< what was selected when the selection began
    LogSpan selected;
    LogPosition caretPosition;
};

}  // namespace ferrolt
