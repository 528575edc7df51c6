#include "LogFinder.h"

#include "Utf8.h"

#include <QList>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr unsigned char firstLeadByte = 0xC2;

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
    kept.reset();
    seeking = false;
}

std::uint32_t LogFinder::endOfMatch(QByteArrayView text, std::uint32_t begin) const {
    std::size_t at = begin;
    for (const char32_t wanted : needle) {
        if (at >= static_cast<std::size_t>(text.size()))
            return begin;
        const Utf8Character character = utf8CharacterAt(text, at);
        if (character.codePoint != wanted && folded(character.codePoint) != wanted)
            return begin;
        at += character.length;
    }
    return static_cast<std::uint32_t>(at);
}

template <class OnHit>
void LogFinder::search(const LogElement &element, OnHit onHit) const {
    const auto size = static_cast<std::uint32_t>(element.size());
    const char *const text = element.constData();
    for (std::uint32_t at = 0; at < size;) {
        if (!mayBegin[static_cast<unsigned char>(text[at])]) {
            ++at;
            continue;
        }
        const std::uint32_t end = endOfMatch(element, at);
        if (end > at)
            onHit(at, end);
        at = std::max(end, at + 1);
    }
}

void LogFinder::sync() {
    if (!hasNeedle())
        return;
    for (; first < log.firstSequence() && !counts.empty(); ++first) {
        if (counts.front() != unknown) {
            hits -= static_cast<std::size_t>(counts.front());
            --counted;
        }
        counts.pop_front();
    }
    first = log.firstSequence();
    counts.resize(log.size(), unknown);
}

std::int64_t LogFinder::countOf(std::uint64_t sequence) {
    std::int64_t &known = counts[static_cast<std::size_t>(sequence - first)];
    if (known == unknown) {
        known = 0;
        search(log.bySequence(sequence), [&](std::uint32_t, std::uint32_t) { ++known; });
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

const std::vector<LogFinder::Hit> &LogFinder::hitsOf(std::uint64_t sequence) {
    if (!kept || keptFor != sequence) {
        kept.emplace();
        keptFor = sequence;
        search(log.bySequence(sequence),
               [&](std::uint32_t begin, std::uint32_t end) { kept->emplace_back(begin, end); });
    }
    return *kept;
}

std::optional<std::size_t> LogFinder::numberOf(LogPosition begin) {
    sync();
    if (!hasNeedle() || !isCounted() || !log.holds(begin.sequence))
        return std::nullopt;
    const std::vector<Hit> &all = hitsOf(begin.sequence);
    const auto at = std::lower_bound(all.begin(), all.end(), Hit(count(begin.offset), 0));
    if (at == all.end() || at->first != count(begin.offset))
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
            const std::vector<Hit> &all = hitsOf(seekFrom.sequence);
            const auto after = std::lower_bound(all.begin(), all.end(), Hit(count(seekFrom.offset), 0));
            if (forth ? after != all.end() : after != all.begin()) {
                const Hit &nearest = forth ? *after : *(after - 1);
                hit = {{seekFrom.sequence, ByteOffset{nearest.first}},
                       {seekFrom.sequence, ByteOffset{nearest.second}}};
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
    const std::vector<Hit> &all = hitsOf(sequence);
    auto at = std::upper_bound(all.begin(), all.end(), count(begin),
                               [](std::uint32_t offset, const Hit &h) { return offset < h.second; });
    for (; at != all.end() && at->first < count(end); ++at)
        between.push_back({{sequence, ByteOffset{at->first}}, {sequence, ByteOffset{at->second}}});
    return between;
}

}  // namespace ferrolt
