#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace ferrolt {

/// A text file read whole.
///
/// Encodings: UTF-8 with or without a byte-order mark, and UTF-16 of either byte order with one. The mark is
/// part of the encoding and not of the text. NUL is a character like any other. Whatever is not well-formed
/// in its encoding is unreadable as a whole: a text that was guessed at would be written back wrong.
struct TextFile {
    enum class State {
        Read,
        Absent,      ///< there is no such file; a symbolic link to nowhere counts as none
        Unreadable,  ///< there is something, but not a text that can be had
    };

    State state = State::Unreadable;
    std::string text;  ///< well-formed UTF-8 without a byte-order mark; empty unless the state is Read

    /// More than any configuration holds, and little enough to take into memory. A longer file is unreadable.
    static constexpr std::size_t largestSize = std::size_t{256} << 20;  // bytes

    /// Any thread. Never waits for another program: what is not a regular file is not even opened, since
    /// opening a pipe may block for ever and opening a device may do things. Takes time in proportion to the
    /// file's length.
    static TextFile read(const std::filesystem::path &path);
};

}  // namespace ferrolt
