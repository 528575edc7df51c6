#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"
#include "PerElement.h"

#include <QString>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace ferrolt {

/// Finds a text in a log, ignoring case, also where it spans elements: a child's output is cut into elements
/// wherever a read of its pipe ended. A hit belongs to the element in which it begins.
///
/// A full log takes longer to read than a window may freeze, so the work is done in portions of time. Keeps
/// the number of hits of each element, and lists of the hits of the elements that were asked for last.
///
/// States: without a needle nothing is found. With a needle, countFor() counts the hits of elements until
/// isCounted(); new elements make that false again. A search is started by startSearch() and continued by
/// searchFor() until that has an answer; startSearch() and setNeedle() end a search that is under way.
class LogFinder {
  public:
    enum class Answer { Found, Nothing, NotYet };

    /// `log` must outlive the finder.
    explicit LogFinder(const LogBuffer &log) : log(log), elements(log) {}

    void setNeedle(const QString &text);
    bool hasNeedle() const { return !needle.empty(); }

    /// Follows the log after elements were dropped or appended.
    void sync();
    /// Counts hits until those of all elements are counted or the time is up.
    void countFor(std::chrono::nanoseconds maxTime);
    bool isCounted() const { return counted == elements.size(); }
    /// The number of hits in the elements that are counted.
    std::size_t total() const { return hits; }
    /// The number of the hit that begins here among all hits of the log, from 1; none before all elements are
    /// counted, nor where no hit begins.
    std::optional<std::size_t> numberOf(LogPosition begin);

    /// Starts a search for the nearest hit that begins at or after `from`, or for the nearest one before it.
    /// At the end of the log it goes on from the other end.
    void startSearch(LogPosition from, Direction direction);
    bool isSearching() const { return searching; }
    Answer searchFor(std::chrono::nanoseconds maxTime);
    /// The hit that the last search found.
    LogSpan found() const { return hit; }

    /// The hits that overlap this part of an element, those that begin in earlier elements included.
    std::vector<LogSpan> hitsBetween(std::uint64_t sequence, ByteOffset begin, ByteOffset end);

  private:
    struct Element {
        std::optional<std::size_t> count;
        std::optional<std::vector<LogSpan>> hits;
    };

    template <class OnHit>
    void search(std::uint64_t sequence, OnHit onHit) const;
    std::optional<LogPosition> endOfMatch(LogPosition begin) const;
    const std::vector<LogSpan> &hitsOf(std::uint64_t sequence);
    std::size_t countOf(std::uint64_t sequence);
    void forget(std::uint64_t sequence);
    void forgetHits(Element &element);
    template <class Visit>
    void visitBefore(std::uint64_t sequence, std::uint64_t bytesBetween, Visit visit) const;

    const LogBuffer &log;
    std::vector<char32_t> needle;         ///< case-folded
    std::array<bool, 256> canStartHit{};  ///< by first byte
    PerElement<Element> elements;
    std::size_t counted = 0;   ///< elements with a count
    std::size_t hits = 0;      ///< in these
    std::size_t hitsKept = 0;  ///< in the lists of all elements

    bool searching = false;
    LogPosition searchFrom;
    Direction searchDirection = Direction::Forward;
    std::size_t searchedElements = 0;
    LogSpan hit;
};

}  // namespace ferrolt
