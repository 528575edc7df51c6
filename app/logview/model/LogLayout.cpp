#include "LogLayout.h"

#include "LogRows.h"

#include <algorithm>

namespace ferrolt {
namespace {

/// So many row starts are kept before all are dropped and those on screen found again: 1 MB.
constexpr std::size_t rowsWorthKeeping = 256 * 1024;

}  // namespace

void LogLayout::setGrid(int columns, int rowHeight) {
    if (rowHeight != gridRowHeight) {
        gridRowHeight = rowHeight;
        tops.clear();
    }
    if (columns == gridColumns)
        return;
    gridColumns = columns;
    tops.clear();
    forgetRows();
    countedRows = countedBytes = 0;
    inexact = 0;
    for (Facts &element : elements) {
        element.exact = element.counted && element.widest <= static_cast<std::uint32_t>(columns);
        if (element.exact)
            element.rows = element.lines;
        else
            element.rows = std::max(element.lines, 1U) + element.bytes / static_cast<std::uint32_t>(columns);
        inexact += element.exact ? 0U : 1U;
    }
}

LogLayout::Facts LogLayout::estimate(std::uint32_t bytes) const {
    Facts element;
    element.bytes = bytes;
    const std::uint64_t guess = countedBytes > 0 ? bytes * countedRows / countedBytes
                                                 : bytes / static_cast<std::uint32_t>(gridColumns);
    element.rows = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(guess, 1, std::max(bytes, 1U)));
    return element;
}

void LogLayout::sync() {
    if (isCurrent())
        return;
    tops.clear();
    const std::uint64_t drop = std::min<std::uint64_t>(log.firstSequence() - first, elements.size());
    for (std::uint64_t i = 0; i < drop; ++i, ++first) {
        inexact -= elements.front().exact ? 0U : 1U;
        elements.pop_front();
        const auto kept = rows.find(first);
        if (kept != rows.end()) {
            rowsKept -= kept->second.size();
            rows.erase(kept);
        }
    }
    first = log.firstSequence();
    while (endSequence() < log.endSequence()) {
        elements.push_back(estimate(static_cast<std::uint32_t>(log.bySequence(endSequence()).size())));
        ++inexact;
    }
}

const std::vector<qint64> &LogLayout::offsets() const {
    if (tops.empty()) {
        tops.reserve(elements.size() + 1);
        qint64 y = padding;
        for (const Facts &element : elements) {
            tops.push_back(y);
            y += qint64{element.rows} * gridRowHeight + spacing;
        }
        tops.push_back(y);
    }
    return tops;
}

qint64 LogLayout::height() const {
    return offsets().back() + markerHeight + padding;
}

qint64 LogLayout::top(std::uint64_t sequence) const {
    return offsets()[static_cast<std::size_t>(sequence - first)];
}

qint64 LogLayout::heightOf(std::uint64_t sequence) const {
    return qint64{facts(sequence).rows} * gridRowHeight;
}

std::uint64_t LogLayout::elementAt(qint64 y) const {
    const std::vector<qint64> &all = offsets();
    const auto after = std::upper_bound(all.begin(), all.end() - 1, y);
    const auto index = std::max<std::ptrdiff_t>(after - all.begin() - 1, 0);
    return first + static_cast<std::uint64_t>(index);
}

void LogLayout::setRows(Facts &element, std::uint32_t count) {
    if (element.rows != count)
        tops.clear();
    element.rows = count;
    if (!element.exact)
        --inexact;
    element.exact = true;
}

void LogLayout::measure(std::uint64_t sequence) {
    Facts &element = facts(sequence);
    if (element.exact)
        return;
    const RowCount count = countRows(log.bySequence(sequence), gridColumns);
    element.lines = count.lines;
    element.widest = count.widest;
    element.counted = true;
    countedRows += count.rows;
    countedBytes += element.bytes;
    setRows(element, count.rows);
}

bool LogLayout::measureNewest(std::uint64_t &sequence) {
    if (isExact() || !isCurrent())
        return false;
    while (sequence > first && facts(sequence - 1).exact)
        --sequence;
    if (sequence == first)
        return false;
    measure(--sequence);
    return true;
}

void LogLayout::measureFor(std::chrono::nanoseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    std::uint64_t sequence = endSequence();
    while (measureNewest(sequence) && std::chrono::steady_clock::now() < end) {
    }
}

void LogLayout::measureBytes(std::size_t bytes) {
    std::uint64_t sequence = endSequence();
    for (std::size_t read = 0; read < bytes && measureNewest(sequence);)
        read += facts(sequence).bytes;
}

void LogLayout::forgetRows() {
    rows.clear();
    rowsKept = 0;
}

const std::vector<std::uint32_t> &LogLayout::starts(std::uint64_t sequence) {
    const auto kept = rows.find(sequence);
    if (kept != rows.end())
        return kept->second;
    measure(sequence);
    if (rowsKept > rowsWorthKeeping)
        forgetRows();
    std::vector<std::uint32_t> found = rowStarts(log.bySequence(sequence), gridColumns);
    rowsKept += found.size();
    return rows.emplace(sequence, std::move(found)).first->second;
}

std::uint32_t LogLayout::rowCount(std::uint64_t sequence) {
    measure(sequence);
    return facts(sequence).rows;
}

LogRow LogLayout::row(std::uint64_t sequence, std::uint32_t number) {
    const std::vector<std::uint32_t> &begins = starts(sequence);
    const LogElement &element = log.bySequence(sequence);
    const std::uint32_t begin = begins[number];
    const std::uint32_t next =
        number + 1 < begins.size() ? begins[number + 1] : static_cast<std::uint32_t>(element.size());
    return {sequence, number, ByteOffset{begin}, ByteOffset{rowTextEnd(element, begin, next)},
            ByteOffset{next}};
}

LogRow LogLayout::rowOf(LogPosition position) {
    const std::vector<std::uint32_t> &begins = starts(position.sequence);
    const auto after = std::upper_bound(begins.begin(), begins.end(), count(position.offset));
    const auto number = std::max<std::ptrdiff_t>(after - begins.begin() - 1, 0);
    return row(position.sequence, static_cast<std::uint32_t>(number));
}

}  // namespace ferrolt
