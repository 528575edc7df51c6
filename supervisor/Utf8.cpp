#include "Utf8.h"

#include <cstdint>
#include <cstring>

namespace ferrolt::utf8 {

namespace {

constexpr std::uint8_t byteAt(std::string_view bytes, std::size_t index) {
    return static_cast<std::uint8_t>(bytes[index]);
}

/// The length of the run of ASCII from `from` on. Logs are nearly all ASCII, so this is what a flood costs:
/// 32 bytes a turn, in a shape that compilers turn into vector instructions.
std::size_t asciiRun(std::string_view bytes, std::size_t from) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::size_t at = from;
    for (; at + 32 <= bytes.size(); at += 32) {
        std::uint64_t words[4];
        std::memcpy(words, bytes.data() + at, sizeof words);
        if (((words[0] | words[1] | words[2] | words[3]) & highBits) != 0)
            break;
    }
    while (at < bytes.size() && byteAt(bytes, at) < 0x80)
        ++at;
    return at - from;
}

struct Sequence {
    std::size_t length = 0;   ///< bytes that are well-formed so far; at least 1
    bool wellFormed = false;  ///< false: ill-formed or cut off after `length` bytes
};

/// The sequence that begins at `from` with a byte that is not ASCII.
Sequence sequenceAt(std::string_view bytes, std::size_t from) {
    const std::uint8_t lead = byteAt(bytes, from);
    std::uint8_t lowest = 0x80;  // of the second byte; all later ones are 80..BF
    std::uint8_t highest = 0xBF;
    std::size_t length = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        lowest = lead == 0xE0 ? 0xA0 : 0x80;   // not overlong
        highest = lead == 0xED ? 0x9F : 0xBF;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        lowest = lead == 0xF0 ? 0x90 : 0x80;   // not overlong
        highest = lead == 0xF4 ? 0x8F : 0xBF;  // not above U+10FFFF
    } else {
        return {1, false};
    }
    for (std::size_t index = 1; index < length; ++index) {
        if (from + index >= bytes.size())
            return {index, false};
        const std::uint8_t next = byteAt(bytes, from + index);
        if (next < lowest || next > highest)
            return {index, false};
        lowest = 0x80;
        highest = 0xBF;
    }
    return {length, true};
}

}  // namespace

std::size_t validPrefixLength(std::string_view bytes) {
    std::size_t at = 0;
    while (at < bytes.size()) {
        if (byteAt(bytes, at) < 0x80) {
            at += asciiRun(bytes, at);
            continue;
        }
        const Sequence sequence = sequenceAt(bytes, at);
        if (!sequence.wellFormed)
            break;
        at += sequence.length;
    }
    return at;
}

QByteArray withReplacements(std::string_view bytes) {
    QByteArray text;
    text.reserve(static_cast<qsizetype>(bytes.size()));
    while (!bytes.empty()) {
        const std::size_t valid = validPrefixLength(bytes);
        text.append(bytes.data(), static_cast<qsizetype>(valid));
        bytes.remove_prefix(valid);
        if (!bytes.empty()) {
            text.append("\xEF\xBF\xBD");
            bytes.remove_prefix(sequenceAt(bytes, 0).length);
        }
    }
    return text;
}

}  // namespace ferrolt::utf8
