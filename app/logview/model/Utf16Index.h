#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"

#include <QtGlobal>

#include <cstdint>
#include <deque>
#include <vector>

namespace ferrolt {

/// Counts a log's text as assistive technology does, in units of UTF-16 from its beginning. An element's
/// units are counted once, and none before somebody asks. Main thread.
class Utf16Index {
  public:
    /// `log` must outlive the index.
    explicit Utf16Index(const LogBuffer &log) : log(log) {}

    /// Of the whole log. A log is at most 1000 elements of 64 KiB, which an int holds.
    int size();
    int unitsBefore(LogPosition position);
    /// The place before which there are so many units; the nearest one for a number beyond the text, the
    /// character's beginning for one inside a character. The log must not be empty.
    LogPosition positionAt(int units);

    /// In one text.
    static qint64 unitsIn(QByteArrayView text);

  private:
    void sync();

    const LogBuffer &log;
    std::uint64_t first = 0;
    std::deque<qint64> lengths;   ///< of each element
    std::vector<qint64> offsets;  ///< of each element, and of the end; empty when stale
};

}  // namespace ferrolt
