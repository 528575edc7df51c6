#pragma once

#include "PerElement.h"
#include "Utf16Index.h"

#include <QByteArray>
#include <QObject>

#include <cstdint>

namespace ferrolt {

class LogTextArea;

/// Reports what is appended to and dropped from an area's log, and where its caret and selection are, to
/// assistive technology. Costs nothing while no assistive technology runs. Main thread.
class LogAnnouncer : public QObject {
  public:
    /// `area` is the parent.
    explicit LogAnnouncer(LogTextArea &area);

  private:
    void announceText();
    void announceInsertion(std::uint64_t firstSequence);
    void announceRemoval();
    void announceDataChange();
    void announceCaret();
    void announceSelection();

    LogTextArea &area;
    Utf16Index index;
    std::uint64_t announcedEnd = 0;  ///< elements before this sequence number were announced
    /// The announced texts, to report them when they are dropped; they share their bytes with the log. Null
    /// for texts that are too long to be reported.
    PerElement<QByteArray> texts;
};

}  // namespace ferrolt
