#pragma once

#include <QByteArrayView>

#include <cstddef>

namespace ferrolt {

/// One character as it stands in a text.
struct Utf8Character {
    char32_t codePoint;
    std::size_t length;  ///< in bytes, 1 to 4
};

/// Whether this byte continues a character that began before it.
constexpr bool isUtf8Continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The character that begins at `at`, which must lie inside `text`. The elements of a log are valid UTF-8;
/// should one not be, each byte that is out of place reads as U+FFFD and nothing is read past the end.
inline Utf8Character utf8CharacterAt(QByteArrayView text, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return static_cast<unsigned char>(text[static_cast<qsizetype>(i)]);
    };
    const auto size = static_cast<std::size_t>(text.size());
    const unsigned lead = byte(at);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || at + length > size)
        return {0xFFFD, 1};
    char32_t value = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0U) != 0x80U)
            return {0xFFFD, 1};
        value = (value << 6) | (byte(at + i) & 0x3FU);
    }
    return {value, length};
}

/// The nearest place at or before `at` where a character begins. `at` may be the end of the text.
inline std::size_t utf8Floor(QByteArrayView text, std::size_t at) {
    const auto size = static_cast<std::size_t>(text.size());
    if (at >= size)
        return size;
    for (std::size_t back = 0; back < 3 && at > 0 && isUtf8Continuation(text[static_cast<qsizetype>(at)]);
         ++back)
        --at;
    return at;
}

}  // namespace ferrolt
