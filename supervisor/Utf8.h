#pragma once

#include <QByteArray>

#include <cstddef>
#include <string_view>

/// Strict UTF-8 as Unicode 15, table 3-7, defines it: no overlong forms, no surrogates, nothing above
/// U+10FFFF. A byte-order mark is text like any other and NUL a character.
namespace ferrolt::utf8 {

/// The length in bytes of the longest prefix of `bytes` that is well-formed.
std::size_t validPrefixLength(std::string_view bytes);

struct Replaced {
    QByteArray text;        ///< holds no more memory than its bytes need
    std::size_t taken = 0;  ///< how many bytes became this text
};

/// `bytes` with every maximal ill-formed subsequence (Unicode 15, section 3.9) replaced by U+FFFD: the
/// longest part from the beginning whose text has at most `mostText` bytes, which must be 4 or more. A
/// replacement can be three times as long as what it replaces.
Replaced withReplacements(std::string_view bytes, std::size_t mostText);

}  // namespace ferrolt::utf8
