#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstddef>
#include <string_view>

/// Strict UTF-8 as Unicode 15, table 3-7, defines it: no overlong forms, no surrogates, nothing above
/// U+10FFFF. A byte-order mark and NUL are characters like any other. Any thread.
namespace ferrolt::utf8 {

/// The length in bytes of the longest prefix of `bytes` that is well-formed.
std::size_t validPrefixLength(std::string_view bytes);

struct Replaced {
    QByteArray text;        ///< without spare capacity
    std::size_t taken = 0;  ///< the number of input bytes that `text` stands for
};

/// The longest prefix of `bytes` whose text fits into `maxText` bytes, with every maximal ill-formed
/// subsequence (Unicode 15, section 3.9) replaced by U+FFFD. A replacement can be three times as long as the
/// bytes it replaces. `maxText` must be at least 4, the length of the longest character.
Replaced withReplacements(std::string_view bytes, std::size_t maxText);

/// A decoded character.
struct Character {
    char32_t codePoint;
    std::size_t length;  ///< in bytes, 1 to 4
};

/// Whether this byte continues a character that began before it.
constexpr bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The character that begins at `at`, which must be less than the size of `text`. For well-formed text, as
/// log elements are; in any other text a misplaced byte counts as one U+FFFD, and nothing is read past the
/// end. Inline because views call it for every character of a log.
inline Character characterAt(QByteArrayView text, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return static_cast<unsigned char>(text[static_cast<qsizetype>(i)]);
    };
    const auto size = static_cast<std::size_t>(text.size());
    Q_ASSERT(at < size);
    const unsigned lead = byte(at);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || at + length > size)
        return {0xFFFD, 1};
    char32_t value = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(static_cast<char>(byte(at + i))))
            return {0xFFFD, 1};
        value = (value << 6) | (byte(at + i) & 0x3FU);
    }
    return {value, length};
}

/// The start of the character that `at` lies in; the end of the text for an `at` at or beyond it.
inline std::size_t characterStart(QByteArrayView text, std::size_t at) {
    const auto size = static_cast<std::size_t>(text.size());
    if (at >= size)
        return size;
    for (std::size_t back = 0; back < 3 && at > 0 && isContinuation(text[static_cast<qsizetype>(at)]); ++back)
        --at;
    return at;
}

}  // namespace ferrolt::utf8
