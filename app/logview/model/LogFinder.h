#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"
#include "PerElement.h"

#include <QByteArrayView>
#include <QString>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace ferrolt {

/// Finds a text in a log, ignoring case. The log counts as one text, its elements joined with nothing between
/// them: a child's output is cut into elements wherever a read of its pipe ended. Hits do not overlap; the
/// search goes on behind each.
///
/// A full log takes longer to read than a window may freeze, so the work is done in portions of time. Each
/// element is searched once: a hit belongs to the element in which it ends, so text that arrives later never
/// changes the hits of an earlier element. Keeps for each element the number of its hits and how much of the
/// needle is matched at its two ends, and lists of the hits of the elements that were asked for last.
///
/// States: without a needle nothing is found. With a needle, countFor() counts the hits of elements until
/// isCounted(); new elements make that false again. A search is started by startSearch() and continued by
/// searchFor() until that has an answer; startSearch() and setNeedle() end a search that is under way.
/// Where occurrences of the needle overlap each other, which of them are hits is settled by isCounted().
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
    bool isCounted() const { return countedEnd == elements.endSequence(); }
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

    /// The hits that overlap this part of an element, those that begin or end in other elements included.
    std::vector<LogSpan> hitsBetween(std::uint64_t sequence, ByteOffset begin, ByteOffset end);

  private:
    struct Element {
        std::uint32_t entry = 0;  ///< characters of the needle that are matched where the element begins
        std::uint32_t exit = 0;   ///< the same where it ends
        std::optional<std::size_t> count;
        std::optional<std::vector<LogSpan>> hits;
    };

    template <class OnHit>
    std::uint32_t match(QByteArrayView text, std::uint32_t matched, OnHit onHit) const;
    LogPosition beginOfHit(LogPosition end) const;
    std::uint32_t entryOf(std::uint64_t sequence) const;
    void searchElement(std::uint64_t sequence, std::uint32_t entry);
    std::size_t countOf(std::uint64_t sequence);
    const std::vector<LogSpan> &hitsOf(std::uint64_t sequence);
    std::uint64_t lastReached(LogPosition from);
    std::size_t sizeOf(std::uint64_t sequence) const;
    std::size_t maxHitBytes() const;
    void forget(Element &element);
    void forgetHits(Element &element);
    void forgetCutHits();

    const LogBuffer &log;
    std::vector<char32_t> needle;          ///< case-folded
    std::vector<std::uint32_t> fallbacks;  ///< for each length of a match, the next shorter one it contains
    std::array<bool, 256> canStartHit{};   ///< by first byte
    PerElement<Element> elements;
    /// The elements before this sequence number are counted, each from where the one before it left off.
    std::uint64_t countedEnd = 0;
    std::size_t hits = 0;      ///< in all elements that were searched
    std::size_t hitsKept = 0;  ///< in the lists of all elements

    bool searching = false;
    Direction searchDirection = Direction::Forward;
    LogPosition searchFrom;
    std::uint64_t nextToSearch = 0;
    std::size_t searchedElements = 0;
    LogSpan hit;
};

}  // namespace ferrolt
