#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace ferrolt {

/// A complete text file in memory.
///
/// Encodings: UTF-8 with or without a byte-order mark, and UTF-16 of either byte order with one. The mark is
/// not part of the text; NUL characters are. A file that is malformed in its encoding is unreadable: a
/// repaired text would be wrong when it is written back.
struct TextFile {
    enum class State {
        Read,
        Absent,      ///< there is no such file, or a symbolic link leads to none
        Unreadable,  ///< it is no regular file, cannot be opened or read, is too large or malformed
    };

    State state = State::Unreadable;
    std::string text;  ///< well-formed UTF-8 without a byte-order mark; empty unless the state is Read

    /// In bytes. Far above any configuration, and still small enough for the memory. A larger file is
    /// unreadable.
    static constexpr std::size_t maxSize = std::size_t{256} << 20;

    /// Any thread. Opens regular files only: opening a pipe can block forever, and opening a device can have
    /// effects.
    static TextFile read(const std::filesystem::path &path);
};

}  // namespace ferrolt
