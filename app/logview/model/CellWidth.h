#pragma once

namespace ferrolt {

/// How many cells of a fixed-width row a character takes: 0 for a mark that joins the character before it, 2
/// for one that East Asian typography draws full width (and for emoji), else 1. A line feed or a tab is not
/// asked for.
int cellsOf(char32_t codePoint);

/// What a row shows in place of a character that has no shape of its own or would break the row: a dot, which
/// every font has, where the pictures that Unicode has for control characters are found in few. 0 when the
/// character is shown as it is.
char16_t shownInsteadOf(char32_t codePoint);

}  // namespace ferrolt
