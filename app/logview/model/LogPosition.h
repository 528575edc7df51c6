#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>

namespace ferrolt {

/// Towards the beginning or the end of a log.
enum class Direction { Backward, Forward };

/// A place between two bytes of one log element.
enum class ByteOffset : std::uint32_t {};

constexpr ByteOffset byteOffset(std::size_t bytes) {
    return static_cast<ByteOffset>(bytes);
}
constexpr std::uint32_t count(ByteOffset offset) {
    return static_cast<std::uint32_t>(offset);
}

/// A place in a log's text. An element keeps its sequence number for life, so a position stays on its text
/// while older elements are dropped.
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

/// The span between two positions, in either order.
inline LogSpan spanBetween(LogPosition a, LogPosition b) {
    return {std::min(a, b), std::max(a, b)};
}

}  // namespace ferrolt
