#pragma once

#include <cstdint>

namespace ferrolt {

// How characters fill the cells of a fixed-width row. Rows are counted and drawn by these rules.

/// ASCII from space to tilde: one byte, one cell, and a shape in every font.
constexpr unsigned char firstPrintable = 0x20;
constexpr unsigned char lastPrintable = 0x7E;
constexpr bool isPrintableAscii(unsigned char byte) {
    return byte >= firstPrintable && byte <= lastPrintable;
}

/// A tab reaches to the next multiple of this many cells.
constexpr std::uint32_t tabCells = 8;
constexpr std::uint32_t nextTabStop(std::uint32_t cells) {
    return (cells / tabCells + 1) * tabCells;
}

/// How many cells a character takes: 0 for a mark that joins the character before it, 2 for full-width East
/// Asian characters and emoji, else 1. Must not be called for a line feed or a tab.
int cellsOf(char32_t codePoint);

/// What a row shows in place of a character that has no shape of its own or would break the row: a dot, which
/// every font has, unlike Unicode's pictures of control characters. 0 for a character that is shown as it is,
/// as a tab is.
char16_t shownInsteadOf(char32_t codePoint);

}  // namespace ferrolt
