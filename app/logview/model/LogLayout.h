#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"

#include <QByteArrayView>

#include <chrono>
#include <cstdint>
#include <deque>
#include <unordered_map>
#include <vector>

namespace ferrolt {

/// One row of an element.
struct LogRow {
    std::uint64_t sequence = 0;
    std::uint32_t number = 0;  ///< within its element
    ByteOffset begin{};
    ByteOffset textEnd{};  ///< what is drawn ends here
    ByteOffset next{};     ///< past the line break, if the row ends with one

    bool endsLine() const { return next > textEnd; }
    friend bool operator==(const LogRow &, const LogRow &) = default;
};

/// What is drawn of a row, whose element the log must hold.
inline QByteArrayView textOf(const LogBuffer &log, const LogRow &row) {
    const auto begin = static_cast<qsizetype>(count(row.begin));
    return QByteArrayView(log.bySequence(row.sequence))
        .sliced(begin, static_cast<qsizetype>(count(row.textEnd)) - begin);
}

/// Where each element and each row of a log stands when it is set in rows of fixed height and `columns`
/// cells, from the top of the text downwards in logical pixels. Knows no widget and keeps no text: for each
/// element a few numbers, for the few that are looked at where their rows begin.
///
/// The rows of an element are counted when somebody looks at it; until then its height is an estimate.
/// Counting changes the heights, so whoever keeps a place should keep it as an element and a distance from
/// its top. An element none of whose lines is longer than a row is not counted again when the width changes.
///
/// Elements are named by their sequence numbers. Main thread.
class LogLayout {
  public:
    static constexpr int padding = 16;      ///< around the text
    static constexpr int spacing = 4;       ///< after each element
    static constexpr int markerHeight = 1;  ///< of the invisible row after the last element

    /// `log` must outlive the layout.
    explicit LogLayout(const LogBuffer &log) : log(log) {}

    const LogBuffer &buffer() const { return log; }

    /// `columns` and `rowHeight` at least 1.
    void setGrid(int columns, int rowHeight);
    int columns() const { return gridColumns; }
    int rowHeight() const { return gridRowHeight; }

    /// Whether the layout knows of the log's elements as they are. Until sync() it stands for those it knew.
    bool isCurrent() const { return first == log.firstSequence() && endSequence() == log.endSequence(); }
    void sync();

    bool isEmpty() const { return elements.empty(); }
    std::uint64_t firstSequence() const { return first; }
    std::uint64_t endSequence() const { return first + elements.size(); }
    bool knows(std::uint64_t sequence) const { return sequence >= first && sequence < endSequence(); }

    qint64 height() const;
    /// Where the marker row ends.
    qint64 markerBottom() const { return height() - padding; }
    /// The top of an element; that of the marker row for endSequence().
    qint64 top(std::uint64_t sequence) const;
    qint64 heightOf(std::uint64_t sequence) const;
    /// The element that stands at `y`, the spacing below it included; the first or the last for a `y` beyond.
    /// The log must not be empty.
    std::uint64_t elementAt(qint64 y) const;

    bool isExact(std::uint64_t sequence) const { return facts(sequence).exact; }
    bool isExact() const { return inexact == 0; }
    /// Counts the rows of one element.
    void measure(std::uint64_t sequence);
    /// Counts rows, the newest elements' first, until all are counted or the time is up.
    void measureFor(std::chrono::nanoseconds time);
    /// Counts rows, the newest elements' first, until all are counted or this many bytes were read.
    void measureBytes(std::size_t bytes);

    /// The layout must be current for these; they measure the element. `number` must be below rowCount().
    std::uint32_t rowCount(std::uint64_t sequence);
    LogRow row(std::uint64_t sequence, std::uint32_t number);
    /// The row that holds this place; the element's last for the end of its text.
    LogRow rowOf(LogPosition position);

  private:
    struct Facts {
        std::uint32_t bytes = 0;
        std::uint32_t rows = 1;  ///< an estimate unless `exact`
        std::uint32_t lines = 0;
        std::uint32_t widest = 0;
        bool counted = false;  ///< `lines` and `widest` are known
        bool exact = false;
    };

    const Facts &facts(std::uint64_t sequence) const {
        return elements[static_cast<std::size_t>(sequence - first)];
    }
    Facts &facts(std::uint64_t sequence) { return elements[static_cast<std::size_t>(sequence - first)]; }
    Facts estimate(std::uint32_t bytes) const;
    void setRows(Facts &element, std::uint32_t rows);
    const std::vector<std::uint32_t> &starts(std::uint64_t sequence);
    const std::vector<qint64> &offsets() const;
    void forgetRows();
    bool measureNewest(std::uint64_t &sequence);

    const LogBuffer &log;
    int gridColumns = 80;
    int gridRowHeight = 16;
    std::uint64_t first = 0;
    std::deque<Facts> elements;
    std::size_t inexact = 0;

    mutable std::vector<qint64> tops;  ///< of each element and of the marker; empty when stale
    std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> rows;
    std::size_t rowsKept = 0;

    std::uint64_t countedRows = 0;  ///< what estimates go by
    std::uint64_t countedBytes = 0;
};

}  // namespace ferrolt
