#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>

namespace ferrolt {

/// A place between two bytes of one log element.
enum class ByteOffset : std::uint32_t {};

constexpr ByteOffset byteOffset(std::size_t bytes) {
    return static_cast<ByteOffset>(bytes);
}
constexpr std::uint32_t count(ByteOffset offset) {
    return static_cast<std::uint32_t>(offset);
}

/// A place in a log's text. It names its element by the sequence number that it keeps for life, so it stays
/// on its text while older elements drop off the top.
struct LogPosition {
    std::uint64_t sequence = 0;
    ByteOffset offset{};

    friend auto operator<=>(const LogPosition &, const LogPosition &) = default;
};

/// The text from `begin` up to `end`.
struct LogSpan {
    LogPosition begin;
    LogPosition end;

    bool isEmpty() const { return begin >= end; }
    friend bool operator==(const LogSpan &, const LogSpan &) = default;
};

/// The two places in the order of the text, whichever was given first.
inline LogSpan spanBetween(LogPosition a, LogPosition b) {
    return {std::min(a, b), std::max(a, b)};
}

}  // namespace ferrolt
