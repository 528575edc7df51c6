#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"

#include <QString>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <unordered_map>
#include <vector>

namespace ferrolt {

/// Finds a text in a log, whatever the case of its letters, also where elements share it: a child's output is
/// cut into elements wherever a read of its pipe ended. A hit belongs to the element that it begins in. Works
/// on the bytes as they are kept and in portions of time, since a full log takes longer than a window may
/// stand still. Keeps how many hits each element has, and where they are for those looked at last. Knows no
/// widget. Main thread.
///
/// States: with no needle nothing is found. With a needle, elements are counted by countFor() until
/// isCounted(); elements that the log gains meanwhile are counted as well. A seek is begun by seek() and goes
/// on with seekFor() until it has an answer; another seek() or setNeedle() takes its place.
class LogFinder {
  public:
    enum class Direction { Back, Forth };
    enum class Answer { Found, Nothing, NotYet };

    /// `log` must outlive the finder.
    explicit LogFinder(const LogBuffer &log) : log(log) {}

    void setNeedle(const QString &text);
    bool hasNeedle() const { return !needle.empty(); }

    /// Follows the log after elements were dropped or appended.
    void sync();
    /// Counts hits until all elements are counted or the time is up.
    void countFor(std::chrono::nanoseconds time);
    bool isCounted() const { return counted == counts.size(); }
    /// Hits in the elements that were counted.
    std::size_t total() const { return hits; }
    /// Which of all hits in the order of the text begins here, from 1; none before all elements are counted,
    /// nor when no hit does.
    std::optional<std::size_t> numberOf(LogPosition begin);

    /// Begins to look for the nearest hit that begins at `from` or after it; or before it. Goes round at the
    /// end.
    void seek(LogPosition from, Direction direction);
    bool isSeeking() const { return seeking; }
    Answer seekFor(std::chrono::nanoseconds time);
    /// What was found.
    LogSpan found() const { return hit; }

    /// The hits that have text between two places of an element, those of earlier elements included.
    std::vector<LogSpan> hitsBetween(std::uint64_t sequence, ByteOffset begin, ByteOffset end);

  private:
    static constexpr std::int64_t unknown = -1;

    template <class OnHit>
    void search(std::uint64_t sequence, OnHit onHit) const;
    std::optional<LogPosition> endOfMatch(LogPosition begin) const;
    const std::vector<LogSpan> &hitsOf(std::uint64_t sequence);
    std::int64_t countOf(std::uint64_t sequence);
    void forgetCount(std::uint64_t sequence);
    template <class Visit>
    void visitBefore(std::uint64_t sequence, std::uint64_t bytesBetween, Visit visit) const;

    const LogBuffer &log;
    std::vector<char32_t> needle;      ///< case folded
    std::array<bool, 256> mayBegin{};  ///< the first bytes of what may match
    std::uint64_t first = 0;
    std::deque<std::int64_t> counts;  ///< of each element; unknown before it is counted
    std::size_t counted = 0;
    std::size_t hits = 0;

    std::unordered_map<std::uint64_t, std::vector<LogSpan>> kept;  ///< hits by element
    std::size_t hitsKept = 0;

    bool seeking = false;
    LogPosition seekFrom;
    Direction seekDirection = Direction::Forth;
    std::size_t seekVisited = 0;  ///< elements
    LogSpan hit;
};

}  // namespace ferrolt
