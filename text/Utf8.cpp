#include "Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace ferrolt::utf8 {

namespace {

constexpr std::uint8_t byteAt(std::string_view bytes, std::size_t index) {
    return static_cast<std::uint8_t>(bytes[index]);
}

/// The number of ASCII bytes from `from` on. Logs are nearly all ASCII, so most of a flood's time is spent
/// here: 32 bytes per iteration, in a form that compilers vectorise.
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
    bool wellFormed = false;  ///< false: ill-formed, or the text ends, after `length` bytes
};

/// The sequence that begins at `from` with a byte that is not ASCII.
Sequence sequenceAt(std::string_view bytes, std::size_t from) {
    const std::uint8_t lead = byteAt(bytes, from);
    std::uint8_t min = 0x80;  // of the second byte; all later ones are 80..BF
    std::uint8_t max = 0xBF;
    std::size_t length = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        min = lead == 0xE0 ? 0xA0 : 0x80;  // not overlong
        max = lead == 0xED ? 0x9F : 0xBF;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        min = lead == 0xF0 ? 0x90 : 0x80;  // not overlong
        max = lead == 0xF4 ? 0x8F : 0xBF;  // not above U+10FFFF
    } else {
        return {1, false};
    }
    for (std::size_t index = 1; index < length; ++index) {
        if (from + index >= bytes.size())
            return {index, false};
        const std::uint8_t next = byteAt(bytes, from + index);
        if (next < min || next > max)
            return {index, false};
        min = 0x80;
        max = 0xBF;
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

Replaced withReplacements(std::string_view bytes, std::size_t maxText) {
    Q_ASSERT(maxText >= 4);
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    const std::size_t max = std::min(maxText, replacement.size() * bytes.size());
    QByteArray text(static_cast<qsizetype>(max), Qt::Uninitialized);
    char *const begin = text.data();
    std::size_t written = 0;
    std::size_t taken = 0;
    while (taken < bytes.size()) {
        if (byteAt(bytes, taken) < 0x80) {
            const std::size_t run = std::min(asciiRun(bytes, taken), max - written);
            if (run == 0)
                break;
            std::memcpy(begin + written, bytes.data() + taken, run);
            written += run;
            taken += run;
            continue;
        }
        const Sequence sequence = sequenceAt(bytes, taken);
        const std::string_view character =
            sequence.wellFormed ? bytes.substr(taken, sequence.length) : replacement;
        if (character.size() > max - written)
            break;
        std::memcpy(begin + written, character.data(), character.size());
        written += character.size();
        taken += sequence.length;
    }
    text.truncate(static_cast<qsizetype>(written));
    text.squeeze();
    return {std::move(text), taken};
}

}  // namespace ferrolt::utf8
