#include "LogFinder.h"

#include "Utf8.h"

#include <QList>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr unsigned char firstLeadByte = 0xC2;
constexpr std::size_t maxCharacterBytes = 4;

/// So many hits are kept before all are dropped and those on screen found again: 2 MB.
constexpr std::size_t hitsWorthKeeping = 64 * 1024;

char32_t folded(char32_t codePoint) {
    return QChar::toCaseFolded(codePoint);
}

}  // namespace

void LogFinder::setNeedle(const QString &text) {
    needle.clear();
    for (const char32_t c : text.toUcs4())
        needle.push_back(folded(c));
    mayBegin.fill(false);
    if (!needle.empty()) {
        for (char32_t c = 0; c < 0x80; ++c)
            mayBegin[c] = folded(c) == needle.front();
        // A few characters beyond ASCII fold into it, so their first bytes always may.
        std::fill(mayBegin.begin() + firstLeadByte, mayBegin.end(), true);
    }
    first = log.firstSequence();
    counts.assign(hasNeedle() ? log.size() : 0, unknown);
    counted = hits = 0;
    kept.clear();
    hitsKept = 0;
    seeking = false;
}

std::optional<LogPosition> LogFinder::endOfMatch(LogPosition begin) const {
    std::uint64_t sequence = begin.sequence;
    const LogElement *element = &log.bySequence(sequence);
    std::size_t at = count(begin.offset);
    for (const char32_t wanted : needle) {
        for (; at >= static_cast<std::size_t>(element->size()); at = 0) {
            if (!log.holds(++sequence))
                return std::nullopt;
            element = &log.bySequence(sequence);
        }
        const utf8::Character character = utf8::characterAt(*element, at);
        if (character.codePoint != wanted && folded(character.codePoint) != wanted)
            return std::nullopt;
        at += character.length;
    }
    return LogPosition{sequence, byteOffset(at)};
}

template <class OnHit>
void LogFinder::search(std::uint64_t sequence, OnHit onHit) const {
    const LogElement &element = log.bySequence(sequence);
    const auto size = static_cast<std::size_t>(element.size());
    const char *const text = element.constData();
    for (std::size_t at = 0; at < size;) {
        if (!mayBegin[static_cast<unsigned char>(text[at])]) {
            ++at;
            continue;
        }
        const LogPosition begin{sequence, byteOffset(at)};
        const std::optional<LogPosition> end = endOfMatch(begin);
        if (end)
            onHit(LogSpan{begin, *end});
        at = !end ? at + 1 : end->sequence == sequence ? count(end->offset) : size;
    }
}

/// The elements before `sequence`, the nearest first, as far as a hit in them may reach to a place that lies
/// so many bytes behind the beginning of `sequence`.
template <class Visit>
void LogFinder::visitBefore(std::uint64_t sequence, std::uint64_t bytesBetween, Visit visit) const {
    const std::uint64_t maxBytes = needle.size() * maxCharacterBytes;
    while (sequence > log.firstSequence() && bytesBetween < maxBytes) {
        visit(--sequence);
        bytesBetween += static_cast<std::uint64_t>(log.bySequence(sequence).size());
    }
}

void LogFinder::forgetCount(std::uint64_t sequence) {
    std::int64_t &known = counts[static_cast<std::size_t>(sequence - first)];
    if (known == unknown)
        return;
    hits -= static_cast<std::size_t>(known);
    --counted;
    known = unknown;
}

void LogFinder::sync() {
    if (!hasNeedle())
        return;
    for (; first < log.firstSequence() && !counts.empty(); ++first) {
        forgetCount(first);
        counts.pop_front();
        const auto dropped = kept.find(first);
        if (dropped != kept.end()) {
            hitsKept -= dropped->second.size();
            kept.erase(dropped);
        }
    }
    first = log.firstSequence();
    const std::uint64_t end = first + counts.size();
    if (end == log.endSequence())
        return;
    // What came may complete a hit that begins before it.
    visitBefore(end, 0, [this](std::uint64_t sequence) {
        forgetCount(sequence);
        const auto stale = kept.find(sequence);
        if (stale != kept.end()) {
            hitsKept -= stale->second.size();
            kept.erase(stale);
        }
    });
    counts.resize(log.size(), unknown);
}

std::int64_t LogFinder::countOf(std::uint64_t sequence) {
    std::int64_t &known = counts[static_cast<std::size_t>(sequence - first)];
    if (known == unknown) {
        known = 0;
        search(sequence, [&](const LogSpan &) { ++known; });
        ++counted;
        hits += static_cast<std::size_t>(known);
    }
    return known;
}

void LogFinder::countFor(std::chrono::nanoseconds time) {
    sync();
    const auto end = std::chrono::steady_clock::now() + time;
    for (std::size_t i = 0; i < counts.size() && !isCounted(); ++i) {
        if (counts[i] != unknown)
            continue;
        countOf(first + i);
        if (std::chrono::steady_clock::now() >= end)
            return;
    }
}

const std::vector<LogSpan> &LogFinder::hitsOf(std::uint64_t sequence) {
    const auto known = kept.find(sequence);
    if (known != kept.end())
        return known->second;
    if (hitsKept > hitsWorthKeeping) {
        kept.clear();
        hitsKept = 0;
    }
    std::vector<LogSpan> found;
    search(sequence, [&](const LogSpan &one) { found.push_back(one); });
    hitsKept += found.size();
    return kept.emplace(sequence, std::move(found)).first->second;
}

std::optional<std::size_t> LogFinder::numberOf(LogPosition begin) {
    sync();
    if (!hasNeedle() || !isCounted() || !log.holds(begin.sequence))
        return std::nullopt;
    const std::vector<LogSpan> &all = hitsOf(begin.sequence);
    const auto at = std::ranges::lower_bound(all, begin, {}, &LogSpan::begin);
    if (at == all.end() || at->begin != begin)
        return std::nullopt;
    auto number = static_cast<std::size_t>(at - all.begin()) + 1;
    for (std::uint64_t i = first; i < begin.sequence; ++i)
        number += static_cast<std::size_t>(countOf(i));
    return number;
}

void LogFinder::seek(LogPosition from, Direction direction) {
    seekFrom = from;
    seekDirection = direction;
    seekVisited = 0;
    seeking = hasNeedle();
}

LogFinder::Answer LogFinder::seekFor(std::chrono::nanoseconds time) {
    sync();
    const auto end = std::chrono::steady_clock::now() + time;
    const bool forth = seekDirection == Direction::Forth;
    // The element of the start is visited twice: for what lies ahead in it, and at the end of the round for
    // the rest.
    while (seeking && !log.isEmpty() && seekVisited <= log.size()) {
        if (!log.holds(seekFrom.sequence))
            seekFrom = {forth ? log.firstSequence() : log.endSequence() - 1,
                        forth ? ByteOffset{0} : ByteOffset{UINT32_MAX}};
        if (countOf(seekFrom.sequence) > 0) {
            const std::vector<LogSpan> &all = hitsOf(seekFrom.sequence);
            const auto after = std::ranges::lower_bound(all, seekFrom, {}, &LogSpan::begin);
            if (forth ? after != all.end() : after != all.begin()) {
                hit = forth ? *after : *(after - 1);
                seeking = false;
                return Answer::Found;
            }
        }
        ++seekVisited;
        seekFrom = {forth ? seekFrom.sequence + 1 : seekFrom.sequence - 1,
                    forth ? ByteOffset{0} : ByteOffset{UINT32_MAX}};
        if (std::chrono::steady_clock::now() >= end)
            return Answer::NotYet;
    }
    seeking = false;
    return Answer::Nothing;
}

std::vector<LogSpan> LogFinder::hitsBetween(std::uint64_t sequence, ByteOffset begin, ByteOffset end) {
    std::vector<LogSpan> between;
    if (!hasNeedle() || !log.holds(sequence))
        return between;
    sync();
    const LogPosition from{sequence, begin};
    const LogPosition to{sequence, end};
    visitBefore(sequence, count(begin), [&](std::uint64_t earlier) {
        const std::vector<LogSpan> &all = hitsOf(earlier);
        // Only the last one can reach beyond its element.
        if (!all.empty() && all.back().end > from)
            between.push_back(all.back());
    });
    const std::vector<LogSpan> &all = hitsOf(sequence);
    for (auto at = std::ranges::upper_bound(all, from, {}, &LogSpan::end); at != all.end() && at->begin < to;
         ++at)
        between.push_back(*at);
    return between;
}

}  // namespace ferrolt
