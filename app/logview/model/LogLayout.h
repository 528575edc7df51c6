#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"
#include "PerElement.h"

#include <QByteArrayView>

#include <chrono>
#include <cstdint>
#include <vector>

namespace ferrolt {

/// One row of an element.
struct LogRow {
    std::uint64_t sequence = 0;
    std::uint32_t number = 0;  ///< within its element
    ByteOffset begin{};
    ByteOffset textEnd{};  ///< of the part that is drawn
    ByteOffset next{};     ///< past the line break, if the row ends with one

    bool endsLine() const { return next > textEnd; }
    friend bool operator==(const LogRow &, const LogRow &) = default;
};

/// The drawn text of a row. The log must hold its element.
inline QByteArrayView textOf(const LogBuffer &log, const LogRow &row) {
    Q_ASSERT(log.holds(row.sequence));
    const auto begin = static_cast<qsizetype>(count(row.begin));
    return QByteArrayView(log.bySequence(row.sequence))
        .sliced(begin, static_cast<qsizetype>(count(row.textEnd)) - begin);
}

/// Where each element and each row of a log stands, in logical pixels from the top of the text, when it is
/// set in rows of fixed height and `columns` cells. Keeps no text: a few numbers for each element, and the
/// row starts of the elements that were asked for last.
///
/// The rows of an element are counted when they are first asked for; until then its height is an estimate.
/// Counting changes heights, so keep a place as an element and a distance from its top. After a
/// change of the width an element is counted again only if one of its lines is longer than a row.
class LogLayout {
  public:
    static constexpr int padding = 16;      ///< around the text
    static constexpr int spacing = 4;       ///< after each element
    static constexpr int markerHeight = 1;  ///< of the invisible row after the last element

    /// `log` must outlive the layout.
    explicit LogLayout(const LogBuffer &log) : log(log), elements(log) {}

    const LogBuffer &buffer() const { return log; }

    /// `columns` and `rowHeight` must be at least 1. Until then they are a terminal's: text may be asked for
    /// before it is shown.
    void setGrid(int columns, int rowHeight);
    int columns() const { return gridColumns; }
    int rowHeight() const { return gridRowHeight; }

    /// Whether the log has not changed since the last sync(). What needs the text of an element requires it;
    /// everything else answers for the elements that the layout knows.
    bool isCurrent() const { return elements.isCurrent(); }
    void sync();

    bool isEmpty() const { return elements.isEmpty(); }
    std::uint64_t firstSequence() const { return elements.firstSequence(); }
    std::uint64_t endSequence() const { return elements.endSequence(); }
    bool knows(std::uint64_t sequence) const { return elements.knows(sequence); }

    qint64 height() const;
    /// The bottom of the marker row.
    qint64 markerBottom() const { return height() - padding; }
    /// The top of a known element; that of the marker row for endSequence().
    qint64 top(std::uint64_t sequence) const;
    qint64 heightOf(std::uint64_t sequence) const;
    /// The element at `y`, the spacing below it included; the first or the last one for a `y` beyond them.
    /// The layout must not be empty.
    std::uint64_t elementAt(qint64 y) const;

    /// Whether the rows of one element, or of all, are counted.
    bool isExact(std::uint64_t sequence) const { return elements[sequence].isExact; }
    bool isExact() const { return inexact == 0; }
    /// Counts the rows of one element. The layout must be current.
    void measure(std::uint64_t sequence);
    /// Counts rows, those of the newest elements first, until all are counted or the time is up. Does nothing
    /// while the layout is not current.
    void measureFor(std::chrono::nanoseconds maxTime);
    /// The same until this many bytes were read.
    void measureBytes(std::size_t maxBytes);

    // These count the rows of the element first. The layout must be current.
    std::uint32_t rowCount(std::uint64_t sequence);
    /// `number` must be below rowCount().
    LogRow row(std::uint64_t sequence, std::uint32_t number);
    /// The row that holds a position; the element's last row for the end of the element.
    LogRow rowOf(LogPosition position);
    /// How many row starts are kept, of all elements: no more than a megabyte and those of one element.
    std::size_t rowStartsKept() const { return startsKept; }

  private:
    struct Element {
        std::uint32_t bytes = 0;
        std::uint32_t rows{};  ///< an estimate unless `isExact`
        std::uint32_t lines = 0;
        std::uint32_t widestLine = 0;  ///< in cells
        bool hasLines = false;         ///< `lines` and `widestLine` are known
        bool isExact = false;
        std::vector<std::uint32_t> rowStarts;  ///< empty unless kept
    };

    Element estimate(std::uint32_t bytes) const;
    const std::vector<std::uint32_t> &startsOf(std::uint64_t sequence);
    const std::vector<qint64> &tops() const;
    void forgetRowStarts();
    /// Counts the newest element before `sequence` that is not counted; from there on all are. Returns
    /// whether there was one.
    bool measureNewest(std::uint64_t &sequence);

    const LogBuffer &log;
    int gridColumns = 80;
    int gridRowHeight = 16;
    PerElement<Element> elements;
    std::size_t inexact = 0;     ///< elements whose rows are not counted
    std::size_t startsKept = 0;  ///< in all elements

    mutable std::vector<qint64> topsKept;  ///< of each element and of the marker; empty when out of date

    // Estimates go by the rows and bytes that were counted with this grid.
    std::uint64_t countedRows = 0;
    std::uint64_t countedBytes = 0;
};

}  // namespace ferrolt
