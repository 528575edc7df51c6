#pragma once

#include <QByteArrayView>

#include <cstdint>
#include <vector>

namespace ferrolt {

/// How an element breaks into rows of fixed-width cells. Only a line feed starts a new line. A line that is
/// longer than a row continues in the next one: after the last space that fits, else before the character
/// that does not fit. A space at the end of a row may exceed it by its one cell.
struct RowCount {
    std::uint32_t rows = 0;
    std::uint32_t lines = 0;   ///< equals `rows` if no line is longer than a row
    std::uint32_t widest = 0;  ///< cells of the longest line without breaks
};

// `element` must not be empty, `columns` must be at least 1.

RowCount countRows(QByteArrayView element, int columns);
/// The offset at which each row begins.
std::vector<std::uint32_t> rowStarts(QByteArrayView element, int columns);

/// Where the text of the row [begin, next) ends: before its line break, CR LF or LF. A carriage return at the
/// end of the element counts as part of one: its line feed may come with the next element.
std::uint32_t rowTextEnd(QByteArrayView element, std::uint32_t begin, std::uint32_t next);

}  // namespace ferrolt
