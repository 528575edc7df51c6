#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"

#include <QByteArray>

#include <vector>

namespace ferrolt {

/// A log read as one text: its elements one after the other with nothing between them. Only the text near a
/// position is read, however long its element is.
///
/// Positions must lie in elements that the log holds, unless a function says otherwise.
class LogText {
  public:
    static LogPosition begin(const LogBuffer &log);
    /// The end of the newest element. The log must not be empty.
    static LogPosition end(const LogBuffer &log);
    static LogSpan whole(const LogBuffer &log) { return {begin(log), end(log)}; }

    /// The nearest position to one whose element may have been dropped. The log must not be empty.
    static LogPosition clamped(const LogBuffer &log, LogPosition position);

    /// Whether a span has no text. It may span from the end of an element to the beginning of the next, and
    /// its elements may have been dropped.
    static bool isEmpty(const LogBuffer &log, LogSpan span);

    /// By characters as a reader counts them: a letter with its marks is one, and so is CR LF.
    static LogPosition nextCharacter(const LogBuffer &log, LogPosition from);
    static LogPosition previousCharacter(const LogBuffer &log, LogPosition from);
    /// The beginning of the next word.
    static LogPosition nextWord(const LogBuffer &log, LogPosition from);
    /// The beginning of the word that `from` lies in, or of the one before it.
    static LogPosition previousWord(const LogBuffer &log, LogPosition from);

    /// The word, the run of spaces or the punctuation mark at a position.
    static LogSpan wordAt(const LogBuffer &log, LogPosition position);
    /// The line at a position with its line break, within its element.
    static LogSpan lineAt(const LogBuffer &log, LogPosition position);

    /// The first line in a span that has text, without its line break; at most `maxBytes` of it, in whole
    /// characters.
    static QByteArray firstLine(const LogBuffer &log, LogSpan span, qsizetype maxBytes);

    /// The text of a span, in the pieces in which it is stored; whole elements are shared, not copied.
    /// Elements that were dropped are left out.
    static std::vector<QByteArray> pieces(const LogBuffer &log, LogSpan span);
};

}  // namespace ferrolt
