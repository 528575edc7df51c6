#pragma once

#include <QByteArrayView>

#include <cstdint>
#include <vector>

namespace ferrolt {

/// How an element breaks into rows of fixed-width cells. Only a line feed starts a new line; a line that is
/// longer than a row goes on in the next one, after the last space that fits or before the character that
/// does not. A space at the very end may hang over the edge by its one cell. Nothing is laid out, only
/// counted.
struct RowCount {
    std::uint32_t rows = 0;
    std::uint32_t lines = 0;   ///< what `rows` is as long as no line is longer than a row
    std::uint32_t widest = 0;  ///< cells of the longest line, were it not broken
};

/// At least one row; `columns` at least 1.
RowCount countRows(QByteArrayView element, int columns);

/// Where each row begins.
std::vector<std::uint32_t> rowStarts(QByteArrayView element, int columns);

/// Where the text of the row [begin, next) ends: before the line break that ends it, a carriage return that
/// belongs to that included. A carriage return that ends the element may belong to a break that is yet to
/// come.
std::uint32_t rowTextEnd(QByteArrayView element, std::uint32_t begin, std::uint32_t next);

/// Tabs reach to the next multiple of this many cells.
constexpr std::uint32_t tabCells = 8;

}  // namespace ferrolt
