#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"

#include <QByteArray>

#include <vector>

namespace ferrolt {

/// Reading a log as one text: its elements one after the other with nothing between them. Only the text near
/// the place asked about is looked at, however long its element is. Every position must lie in an element
/// that the log holds; the log must not be empty where a position is returned.
class LogText {
  public:
    static LogPosition begin(const LogBuffer &log);
    /// The end of the newest element.
    static LogPosition end(const LogBuffer &log);
    static LogSpan whole(const LogBuffer &log) { return {begin(log), end(log)}; }

    /// What is left of a place whose element may have been dropped: the beginning of the oldest one then.
    static LogPosition clamped(const LogBuffer &log, LogPosition position);

    /// Whether no text lies in a span. The end of an element and the beginning of the next are one place.
    static bool isEmpty(const LogBuffer &log, LogSpan span);

    /// As a reader counts characters: a letter with its marks is one, so is a line break of two bytes.
    static LogPosition nextCharacter(const LogBuffer &log, LogPosition from);
    static LogPosition previousCharacter(const LogBuffer &log, LogPosition from);
    /// To the beginning of the next word; of this word, or of the one before.
    static LogPosition nextWord(const LogBuffer &log, LogPosition from);
    static LogPosition previousWord(const LogBuffer &log, LogPosition from);

    /// The word, the run of spaces or the sign at a place.
    static LogSpan wordAt(const LogBuffer &log, LogPosition position);
    /// The line at a place, its line break included, within its element.
    static LogSpan lineAt(const LogBuffer &log, LogPosition position);

    /// The text of a span in the pieces in which it is stored; whole elements share their bytes.
    static std::vector<QByteArray> pieces(const LogBuffer &log, LogSpan span);
};

}  // namespace ferrolt
