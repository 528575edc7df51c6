#include "LogFinder.h"

#include "Utf8.h"

#include <QList>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr unsigned char firstLeadByte = 0xC2;
constexpr std::size_t maxCharacterBytes = 4;

/// With more hits than this (2 MB) all lists are dropped, and those of the elements on screen made again.
constexpr std::size_t maxHitsKept = 64 * 1024;

char32_t folded(char32_t codePoint) {
    return QChar::toCaseFolded(codePoint);
}

}  // namespace

void LogFinder::setNeedle(const QString &text) {
    needle.clear();
    for (const char32_t c : text.toUcs4())
        needle.push_back(folded(c));
    canStartHit.fill(false);
    if (!needle.empty()) {
        for (char32_t c = 0; c < 0x80; ++c)
            canStartHit[c] = folded(c) == needle.front();
        // A few characters beyond ASCII fold to ASCII letters (U+212A, the Kelvin sign, to k), so any lead
        // byte can.
        std::fill(canStartHit.begin() + firstLeadByte, canStartHit.end(), true);
    }
    elements.clear();
    counted = hits = hitsKept = 0;
    searching = false;
    sync();
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
        if (!canStartHit[static_cast<unsigned char>(text[at])]) {
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

/// Visits the elements before `sequence`, nearest first, in which a hit may begin that reaches to or beyond a
/// place `bytesBetween` bytes after the beginning of `sequence`.
template <class Visit>
void LogFinder::visitBefore(std::uint64_t sequence, std::uint64_t bytesBetween, Visit visit) const {
    const std::uint64_t maxBytes = needle.size() * maxCharacterBytes;
    while (sequence > log.firstSequence() && bytesBetween < maxBytes) {
        visit(--sequence);
        bytesBetween += static_cast<std::uint64_t>(log.bySequence(sequence).size());
    }
}

void LogFinder::forgetHits(Element &element) {
    if (element.hits)
        hitsKept -= element.hits->size();
    element.hits.reset();
}

void LogFinder::forget(std::uint64_t sequence) {
    Element &element = elements[sequence];
    if (element.count) {
        hits -= *element.count;
        --counted;
        element.count.reset();
    }
    forgetHits(element);
}

void LogFinder::sync() {
    if (!hasNeedle() || elements.isCurrent())
        return;
    const std::uint64_t end = elements.endSequence();
    elements.sync([](const LogElement &) { return Element(); },
                  [this](std::uint64_t sequence) { forget(sequence); });
    // New text may complete a hit that begins before it.
    if (end < log.endSequence())
        visitBefore(end, 0, [this](std::uint64_t sequence) { forget(sequence); });
}

std::size_t LogFinder::countOf(std::uint64_t sequence) {
    std::optional<std::size_t> &known = elements[sequence].count;
    if (!known) {
        std::size_t found = 0;
        search(sequence, [&](const LogSpan &) { ++found; });
        known = found;
        ++counted;
        hits += found;
    }
    return *known;
}

void LogFinder::countFor(std::chrono::nanoseconds maxTime) {
    sync();
    const auto end = std::chrono::steady_clock::now() + maxTime;
    for (std::uint64_t i = elements.firstSequence(); i < elements.endSequence() && !isCounted(); ++i) {
        if (elements[i].count)
            continue;
        countOf(i);
        if (std::chrono::steady_clock::now() >= end)
            return;
    }
}

const std::vector<LogSpan> &LogFinder::hitsOf(std::uint64_t sequence) {
    Element &element = elements[sequence];
    if (!element.hits) {
        if (hitsKept > maxHitsKept) {
            for (Element &each : elements)
                forgetHits(each);
        }
        std::vector<LogSpan> found;
        search(sequence, [&](const LogSpan &one) { found.push_back(one); });
        hitsKept += found.size();
        element.hits = std::move(found);
    }
    return *element.hits;
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
    for (std::uint64_t i = elements.firstSequence(); i < begin.sequence; ++i)
        number += countOf(i);
    return number;
}

void LogFinder::startSearch(LogPosition from, Direction direction) {
    searchFrom = from;
    searchDirection = direction;
    searchedElements = 0;
    searching = hasNeedle();
}

LogFinder::Answer LogFinder::searchFor(std::chrono::nanoseconds maxTime) {
    sync();
    const auto end = std::chrono::steady_clock::now() + maxTime;
    const bool isForward = searchDirection == Direction::Forward;
    const ByteOffset nearEdge = isForward ? ByteOffset{0} : ByteOffset{UINT32_MAX};
    // The element of the start comes twice: first the part of it that lies ahead, in the end the rest.
    while (searching && !log.isEmpty() && searchedElements <= log.size()) {
        if (!log.holds(searchFrom.sequence))
            searchFrom = {isForward ? log.firstSequence() : log.endSequence() - 1, nearEdge};
        if (countOf(searchFrom.sequence) > 0) {
            const std::vector<LogSpan> &all = hitsOf(searchFrom.sequence);
            const auto after = std::ranges::lower_bound(all, searchFrom, {}, &LogSpan::begin);
            if (isForward ? after != all.end() : after != all.begin()) {
                hit = isForward ? *after : *(after - 1);
                searching = false;
                return Answer::Found;
            }
        }
        ++searchedElements;
        searchFrom = {isForward ? searchFrom.sequence + 1 : searchFrom.sequence - 1, nearEdge};
        if (std::chrono::steady_clock::now() >= end)
            return Answer::NotYet;
    }
    searching = false;
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
        // Hits do not overlap, so only the last one can reach into the next element.
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
