#pragma once

#include <cstdint>

namespace ferrolt {

/// What the practice child floods with: lines of 64 bytes, each of 63 letters and a line feed. This is the
/// byte at `offset` from the flood's beginning; the pattern repeats after 1024 bytes, so every block of 64
/// KiB is the same.
constexpr char floodByte(std::uint64_t offset) {
    const auto column = offset % 64;
    return column == 63 ? '\n' : static_cast<char>('a' + (offset / 64 + column) % 16);
}

}  // namespace ferrolt
