#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"
#include "PerElement.h"

#include <QByteArrayView>

#include <vector>

namespace ferrolt {

/// Converts between positions in a log and offsets in UTF-16 units from the log's beginning, which is how
/// assistive technology counts. The units of an element are counted once, the first time that an offset is
/// asked for.
class Utf16Index {
  public:
    /// `log` must outlive the index.
    explicit Utf16Index(const LogBuffer &log) : log(log), lengths(log) {}

    /// The length of the whole log. An int holds it: a log is at most 1000 elements of 64 KiB.
    int size();
    /// 0 in an empty log.
    int unitsBefore(LogPosition position);
    /// The nearest position to an offset beyond the text; the beginning of the character for an offset inside
    /// a surrogate pair. The log must not be empty.
    LogPosition positionAt(int units);

    /// The length of a text in UTF-16 units.
    static qint64 unitsIn(QByteArrayView text);
    /// How many bytes of `text` its first `units` UTF-16 units take: whole characters, at most all.
    static std::size_t bytesOf(QByteArrayView text, qint64 units);

  private:
    void sync();

    const LogBuffer &log;
    PerElement<qint64> lengths;
    std::vector<qint64> offsets;  ///< of each element's beginning, and of the log's end
};

}  // namespace ferrolt
