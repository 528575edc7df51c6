#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <string>

namespace ferrolt {

/// ChunkDecoder's rule in its plainest form, slow: one code point at a time, every prefix tried in turn.
class PlainDecoder {
  public:
    std::string take(const std::string &bytes) {
        pending += bytes;
        const std::size_t n = pending.size();
        for (std::size_t k = 0; k <= 3 && k <= n; ++k) {
            if (const std::string prefix = pending.substr(0, n - k); isStrict(prefix)) {
                pending.erase(0, n - k);
                return prefix;
            }
        }
        const std::string text = replaced(pending);
        pending.clear();
        return text;
    }

    /// `s` with each maximal ill-formed piece replaced by U+FFFD.
    static std::string replaced(const std::string &s) {
        std::string text;
        for (std::size_t at = 0; at < s.size();) {
            if (const std::size_t length = asciiLength(s, at); length > 0) {
                text.append(s, at, length);
                at += length;
                continue;
            }
            if (const auto length = characterLength(s, at)) {
                text.append(s, at, *length);
                at += *length;
                continue;
            }
            std::size_t piece = 1;
            for (std::size_t longer = 2; longer <= 3 && at + longer <= s.size(); ++longer) {
                if (isBeginningOfCharacter(s.substr(at, longer)))
                    piece = longer;
            }
            text += "\xEF\xBF\xBD";
            at += piece;
        }
        return text;
    }

  private:
    /// The length of the run of ASCII there: most of a log, and a test may have much of it.
    static std::size_t asciiLength(const std::string &s, std::size_t at) {
        const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
        const auto begin = s.begin() + static_cast<std::ptrdiff_t>(at);
        return static_cast<std::size_t>(std::find_if_not(begin, s.end(), isAscii) - begin);
    }

    static std::optional<std::size_t> characterLength(const std::string &s, std::size_t at) {
        const auto byte = [&](std::size_t i) {
            return static_cast<unsigned>(static_cast<unsigned char>(s[i]));
        };
        const unsigned lead = byte(at);
        if (lead < 0x80)
            return 1;
        const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if (lead < 0xC0 || lead > 0xF7 || at + length > s.size())
            return std::nullopt;
        unsigned code = lead & (0xFFU >> (length + 1));
        for (std::size_t i = 1; i < length; ++i) {
            if ((byte(at + i) & 0xC0U) != 0x80U)
                return std::nullopt;
            code = code << 6U | (byte(at + i) & 0x3FU);
        }
        const unsigned smallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return std::nullopt;
        return length;
    }

    static bool isStrict(const std::string &s) {
        for (std::size_t at = asciiLength(s, 0); at < s.size(); at += asciiLength(s, at)) {
            const auto length = characterLength(s, at);
            if (!length)
                return false;
            at += *length;
        }
        return true;
    }

    static std::string encoded(unsigned code) {
        const auto byte = [](unsigned value) { return static_cast<char>(static_cast<unsigned char>(value)); };
        if (code < 0x80)
            return {byte(code)};
        if (code < 0x800)
            return {byte(0xC0 | code >> 6), byte(0x80 | (code & 0x3F))};
        if (code < 0x10000)
            return {byte(0xE0 | code >> 12), byte(0x80 | (code >> 6 & 0x3F)), byte(0x80 | (code & 0x3F))};
        return {byte(0xF0 | code >> 18), byte(0x80 | (code >> 12 & 0x3F)), byte(0x80 | (code >> 6 & 0x3F)),
                byte(0x80 | (code & 0x3F))};
    }

    /// Whether `s` is a proper prefix of a character: such a prefix is replaced as a whole.
    static bool isBeginningOfCharacter(const std::string &s) {
        static const std::set<std::string> beginnings = [] {
            std::set<std::string> all;
            // The last byte of a character holds 6 bits of its code and is in no beginning.
            for (unsigned code = 0; code <= 0x10FFFF; code += 64) {
                if (code >= 0xD800 && code <= 0xDFFF)
                    continue;
                const std::string character = encoded(code);
                for (std::size_t length = 1; length < character.size(); ++length)
                    all.insert(character.substr(0, length));
            }
            return all;
        }();
        return beginnings.contains(s);
    }

    std::string pending;
};

}  // namespace ferrolt
