#include "LogFinder.h"

#include "Utf8.h"

#include <QDeadlineTimer>
#include <QList>

#include <algorithm>
#include <limits>

namespace ferrolt {
namespace {

constexpr unsigned char firstLeadByte = 0xC2;
constexpr std::size_t maxCharacterBytes = 4;

/// With more hits than this (2 MB) all lists are dropped, and those of the elements on screen made again.
constexpr std::size_t maxHitsKept = 64 * 1024;

/// An element whose predecessor was not searched is searched from this many bytes before it: more than a line
/// of dashes, in which hits can be placed in several ways.
constexpr std::size_t lookBackBytes = 4096;

constexpr LogPosition beyondAll{std::numeric_limits<std::uint64_t>::max(), ByteOffset{0}};

char32_t folded(char32_t codePoint) {
    if (codePoint < 0x80)
        return codePoint >= 'A' && codePoint <= 'Z' ? codePoint + ('a' - 'A') : codePoint;
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
    // The failure table of Knuth, Morris and Pratt: the search is linear in the text, whatever the needle.
    fallbacks.assign(needle.size(), 0);
    for (std::size_t length = 1, shorter = 0; length + 1 < needle.size(); ++length) {
        while (shorter > 0 && needle[length] != needle[shorter])
            shorter = fallbacks[shorter];
        if (needle[length] == needle[shorter])
            ++shorter;
        fallbacks[length + 1] = static_cast<std::uint32_t>(shorter);
    }
    elements.clear();
    hits = hitsKept = 0;
    searching = false;
    countedEnd = elements.firstSequence();
    sync();
}

std::size_t LogFinder::sizeOf(std::uint64_t sequence) const {
    return static_cast<std::size_t>(log.bySequence(sequence).size());
}

std::size_t LogFinder::maxHitBytes() const {
    return needle.size() * maxCharacterBytes;
}

/// Goes through a text at whose beginning `matched` characters of the needle are matched, and returns how
/// many are at its end. Calls `onHit(offset)` for each end of a hit.
template <class OnHit>
std::uint32_t LogFinder::match(QByteArrayView text, std::uint32_t matched, OnHit onHit) const {
    const auto size = static_cast<std::size_t>(text.size());
    const char *const bytes = text.data();
    for (std::size_t at = 0; at < size;) {
        if (matched == 0) {
            while (at < size && !canStartHit[static_cast<unsigned char>(bytes[at])])
                ++at;
            if (at == size)
                break;
        }
        const utf8::Character character = utf8::characterAt(text, at);
        at += character.length;
        const char32_t wanted = folded(character.codePoint);
        while (matched > 0 && needle[matched] != wanted)
            matched = fallbacks[matched];
        if (needle[matched] == wanted)
            ++matched;
        if (matched == needle.size()) {
            onHit(at);
            matched = 0;
        }
    }
    return matched;
}

LogPosition LogFinder::beginOfHit(LogPosition end) const {
    std::uint64_t sequence = end.sequence;
    std::size_t at = count(end.offset);
    for (std::size_t i = 0; i < needle.size(); ++i) {
        while (at == 0)
            at = sizeOf(--sequence);
        at = utf8::characterStart(log.bySequence(sequence), at - 1);
    }
    return {sequence, byteOffset(at)};
}

std::uint32_t LogFinder::entryOf(std::uint64_t sequence) const {
    if (sequence == log.firstSequence())
        return 0;
    if (elements[sequence - 1].count)
        return elements[sequence - 1].exit;
    const std::size_t wanted = lookBackBytes + maxHitBytes();
    std::uint64_t from = sequence;
    std::size_t bytes = 0;
    while (from > log.firstSequence() && bytes < wanted)
        bytes += sizeOf(--from);
    QByteArrayView text(log.bySequence(from));
    text =
        text.sliced(static_cast<qsizetype>(bytes > wanted ? utf8::characterStart(text, bytes - wanted) : 0));
    std::uint32_t matched = match(text, 0, [](std::size_t) {});
    for (++from; from < sequence; ++from)
        matched = match(log.bySequence(from), matched, [](std::size_t) {});
    return matched;
}

void LogFinder::searchElement(std::uint64_t sequence, std::uint32_t entry) {
    Element &element = elements[sequence];
    forget(element);
    std::size_t found = 0;
    element.entry = entry;
    element.exit = match(log.bySequence(sequence), entry, [&](std::size_t) { ++found; });
    element.count = found;
    hits += found;
}

void LogFinder::forgetHits(Element &element) {
    if (element.hits)
        hitsKept -= element.hits->size();
    element.hits.reset();
}

void LogFinder::forget(Element &element) {
    hits -= element.count.value_or(0);
    element.count.reset();
    forgetHits(element);
}

/// Forgets the elements that were searched from a match that began in text that is dropped.
void LogFinder::forgetCutHits() {
    std::size_t bytesBefore = 0;
    for (std::uint64_t i = elements.firstSequence();
         i < elements.endSequence() && bytesBefore < maxHitBytes(); ++i) {
        if (elements[i].count && elements[i].entry > 0) {
            forget(elements[i]);
            countedEnd = elements.firstSequence();
        }
        bytesBefore += sizeOf(i);
    }
}

void LogFinder::sync() {
    if (!hasNeedle() || elements.isCurrent())
        return;
    const std::uint64_t first = elements.firstSequence();
    elements.sync([](const LogElement &) { return Element(); },
                  [this](std::uint64_t sequence) { forget(elements[sequence]); });
    countedEnd = std::max(countedEnd, elements.firstSequence());
    if (elements.firstSequence() > first)
        forgetCutHits();
}

void LogFinder::countFor(std::chrono::nanoseconds maxTime) {
    sync();
    const QDeadlineTimer deadline(maxTime);
    while (!isCounted()) {
        const Element &element = elements[countedEnd];
        const std::uint32_t entry =
            countedEnd == elements.firstSequence() ? 0 : elements[countedEnd - 1].exit;
        const bool isKnown = element.count && element.entry == entry;
        if (!isKnown)
            searchElement(countedEnd, entry);
        ++countedEnd;
        if (!isKnown && deadline.hasExpired())
            return;
    }
}

std::size_t LogFinder::countOf(std::uint64_t sequence) {
    if (!elements[sequence].count)
        searchElement(sequence, entryOf(sequence));
    return *elements[sequence].count;
}

const std::vector<LogSpan> &LogFinder::hitsOf(std::uint64_t sequence) {
    static const std::vector<LogSpan> none;
    if (countOf(sequence) == 0)
        return none;
    Element &element = elements[sequence];
    if (!element.hits) {
        if (hitsKept > maxHitsKept) {
            for (Element &each : elements)
                forgetHits(each);
        }
        std::vector<LogSpan> found;
        found.reserve(*element.count);
        match(log.bySequence(sequence), element.entry, [&](std::size_t at) {
            const LogPosition end{sequence, byteOffset(at)};
            found.push_back({beginOfHit(end), end});
        });
        hitsKept += found.size();
        element.hits = std::move(found);
    }
    return *element.hits;
}

/// The last element in which a hit that begins before `from` may end.
std::uint64_t LogFinder::lastReached(LogPosition from) {
    std::uint64_t last = from.sequence;
    std::size_t bytes = sizeOf(last) - std::min<std::size_t>(count(from.offset), sizeOf(last));
    while (bytes < maxHitBytes() && log.holds(last + 1)) {
        countOf(last);
        if (elements[last].exit == 0)
            break;
        bytes += sizeOf(++last);
    }
    return last;
}

std::optional<std::size_t> LogFinder::numberOf(LogPosition begin) {
    sync();
    if (!hasNeedle() || !isCounted() || !log.holds(begin.sequence))
        return std::nullopt;
    std::size_t number = 1;
    for (std::uint64_t i = elements.firstSequence(); i < begin.sequence; ++i)
        number += countOf(i);
    const std::uint64_t last = lastReached({begin.sequence, ByteOffset{count(begin.offset) + 1}});
    for (std::uint64_t i = begin.sequence; i <= last; ++i) {
        const std::vector<LogSpan> &all = hitsOf(i);
        const auto at = std::ranges::lower_bound(all, begin, {}, &LogSpan::begin);
        number += static_cast<std::size_t>(at - all.begin());
        if (at != all.end())
            return at->begin == begin ? std::optional(number) : std::nullopt;
    }
    return std::nullopt;
}

void LogFinder::startSearch(LogPosition from, Direction direction) {
    sync();
    searchFrom = from;
    searchDirection = direction;
    searchedElements = 0;
    searching = hasNeedle();
    nextToSearch = from.sequence;
    if (searching && direction == Direction::Backward && log.holds(from.sequence))
        nextToSearch = lastReached(from);
}

LogFinder::Answer LogFinder::searchFor(std::chrono::nanoseconds maxTime) {
    sync();
    const QDeadlineTimer deadline(maxTime);
    const bool isForward = searchDirection == Direction::Forward;
    // First the part of the log that lies ahead, then all of it from the other end.
    while (searching && !log.isEmpty() && searchedElements < 2 * log.size()) {
        if (!log.holds(nextToSearch)) {
            nextToSearch = isForward ? log.firstSequence() : log.endSequence() - 1;
            searchFrom = isForward ? LogPosition() : beyondAll;
        }
        const std::vector<LogSpan> &all = hitsOf(nextToSearch);
        const auto after = std::ranges::lower_bound(all, searchFrom, {}, &LogSpan::begin);
        if (isForward ? after != all.end() : after != all.begin()) {
            hit = isForward ? *after : *(after - 1);
            searching = false;
            return Answer::Found;
        }
        ++searchedElements;
        nextToSearch = isForward ? nextToSearch + 1 : nextToSearch - 1;
        if (deadline.hasExpired())
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
    const std::uint64_t last = lastReached(to);
    for (std::uint64_t i = sequence; i <= last; ++i) {
        const std::vector<LogSpan> &all = hitsOf(i);
        for (auto at = std::ranges::upper_bound(all, from, {}, &LogSpan::end);
             at != all.end() && at->begin < to; ++at)
            between.push_back(*at);
    }
    return between;
}

}  // namespace ferrolt
