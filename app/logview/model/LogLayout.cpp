#include "LogLayout.h"

#include "LogRows.h"

#include <QDeadlineTimer>

#include <algorithm>

namespace ferrolt {
namespace {

/// With more row starts than this (1 MB) all are dropped, and those of the elements on screen found again.
constexpr std::size_t maxStartsKept = 256 * 1024;

}  // namespace

void LogLayout::setGrid(int columns, int rowHeight) {
    Q_ASSERT(columns >= 1 && rowHeight >= 1);
    if (rowHeight != gridRowHeight) {
        gridRowHeight = rowHeight;
        topsKept.clear();
    }
    if (columns == gridColumns)
        return;
    gridColumns = columns;
    topsKept.clear();
    forgetRowStarts();
    countedRows = countedBytes = 0;
    inexact = 0;
    for (Element &element : elements) {
        element.isExact = element.hasLines && element.widestLine <= static_cast<std::uint32_t>(columns);
        if (element.isExact)
            element.rows = element.lines;
        else
            element.rows = std::max(element.lines, 1U) + element.bytes / static_cast<std::uint32_t>(columns);
        inexact += element.isExact ? 0U : 1U;
    }
}

LogLayout::Element LogLayout::estimate(std::uint32_t bytes) const {
    Element element;
    element.bytes = bytes;
    const std::uint64_t guess = countedBytes > 0 ? bytes * countedRows / countedBytes
                                                 : bytes / static_cast<std::uint32_t>(gridColumns);
    element.rows = static_cast<std::uint32_t>(std::max<std::uint64_t>(guess, 1));
    return element;
}

void LogLayout::sync() {
    if (isCurrent())
        return;
    topsKept.clear();
    elements.sync(
        [this](const LogElement &text) {
            ++inexact;
            return estimate(static_cast<std::uint32_t>(text.size()));
        },
        [this](std::uint64_t sequence) {
            inexact -= elements[sequence].isExact ? 0U : 1U;
            startsKept -= elements[sequence].rowStarts.size();
        });
}

const std::vector<qint64> &LogLayout::tops() const {
    if (topsKept.empty()) {
        qint64 y = padding;
        for (const Element &element : elements) {
            topsKept.push_back(y);
            y += qint64{element.rows} * gridRowHeight + spacing;
        }
        topsKept.push_back(y);
    }
    return topsKept;
}

qint64 LogLayout::height() const {
    return tops().back() + markerHeight + padding;
}

qint64 LogLayout::top(std::uint64_t sequence) const {
    Q_ASSERT(knows(sequence) || sequence == endSequence());
    return tops()[static_cast<std::size_t>(sequence - firstSequence())];
}

qint64 LogLayout::heightOf(std::uint64_t sequence) const {
    return qint64{elements[sequence].rows} * gridRowHeight;
}

std::uint64_t LogLayout::elementAt(qint64 y) const {
    Q_ASSERT(!isEmpty());
    const std::vector<qint64> &all = tops();
    const auto after = std::upper_bound(all.begin(), all.end() - 1, y);
    const auto index = std::max<std::ptrdiff_t>(after - all.begin() - 1, 0);
    return firstSequence() + static_cast<std::uint64_t>(index);
}

void LogLayout::measure(std::uint64_t sequence) {
    Q_ASSERT(isCurrent());
    Element &element = elements[sequence];
    if (element.isExact)
        return;
    const RowCount count = countRows(log.bySequence(sequence), gridColumns);
    if (element.rows != count.rows)
        topsKept.clear();
    element.rows = count.rows;
    element.lines = count.lines;
    element.widestLine = count.widest;
    element.hasLines = element.isExact = true;
    --inexact;
    countedRows += count.rows;
    countedBytes += element.bytes;
}

bool LogLayout::measureNewest(std::uint64_t &sequence) {
    if (isExact() || !isCurrent())
        return false;
    while (isExact(sequence - 1))
        --sequence;
    measure(--sequence);
    return true;
}

void LogLayout::measureFor(std::chrono::nanoseconds maxTime) {
    const QDeadlineTimer deadline(maxTime);
    std::uint64_t sequence = endSequence();
    while (measureNewest(sequence) && !deadline.hasExpired()) {
    }
}

void LogLayout::measureBytes(std::size_t maxBytes) {
    std::uint64_t sequence = endSequence();
    for (std::size_t read = 0; read < maxBytes && measureNewest(sequence);)
        read += elements[sequence].bytes;
}

void LogLayout::forgetRowStarts() {
    for (Element &element : elements)
        element.rowStarts = std::vector<std::uint32_t>();  // frees the memory, unlike clear()
    startsKept = 0;
}

const std::vector<std::uint32_t> &LogLayout::startsOf(std::uint64_t sequence) {
    Q_ASSERT(isCurrent());
    Element &element = elements[sequence];
    if (element.rowStarts.empty()) {
        measure(sequence);
        if (startsKept > maxStartsKept)
            forgetRowStarts();
        element.rowStarts = rowStarts(log.bySequence(sequence), gridColumns);
        startsKept += element.rowStarts.size();
    }
    return element.rowStarts;
}

std::uint32_t LogLayout::rowCount(std::uint64_t sequence) {
    measure(sequence);
    return elements[sequence].rows;
}

LogRow LogLayout::row(std::uint64_t sequence, std::uint32_t number) {
    const std::vector<std::uint32_t> &starts = startsOf(sequence);
    Q_ASSERT(number < starts.size());
    const LogElement &element = log.bySequence(sequence);
    const std::uint32_t begin = starts[number];
    const std::uint32_t next =
        number + 1 < starts.size() ? starts[number + 1] : static_cast<std::uint32_t>(element.size());
    return {sequence, number, ByteOffset{begin}, ByteOffset{rowTextEnd(element, begin, next)},
            ByteOffset{next}};
}

LogRow LogLayout::rowOf(LogPosition position) {
    const std::vector<std::uint32_t> &starts = startsOf(position.sequence);
    const auto after = std::upper_bound(starts.begin(), starts.end(), count(position.offset));
    const auto number = std::max<std::ptrdiff_t>(after - starts.begin() - 1, 0);
    return row(position.sequence, static_cast<std::uint32_t>(number));
}

}  // namespace ferrolt
