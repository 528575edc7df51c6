#include "TextLines.h"

#include "Utf8.h"

#include <QtGlobal>

#include <cstddef>
#include <utility>

namespace ferrolt {

namespace {

using namespace std::string_view_literals;

/// The length in bytes of the newline character at `at`; 0 if another character stands there.
std::size_t newlineLength(std::string_view text, std::size_t at) {
    const char first = text[at];
    if (first >= '\n' && first <= '\r')
        return 1;
    if (first == '\xC2')
        return text.substr(at, 2) == "\xC2\x85"sv ? 2 : 0;
    if (first == '\xE2')
        return text.substr(at, 3) == "\xE2\x80\xA8"sv || text.substr(at, 3) == "\xE2\x80\xA9"sv ? 3 : 0;
    return 0;
}

}  // namespace

TextLines::TextLines(std::string_view text) : rest(text) {
    Q_ASSERT(utf8::validPrefixLength(text) == text.size());
}

std::optional<std::string_view> TextLines::next() {
    if (!rest)
        return std::nullopt;
    for (std::size_t at = 0; at < rest->size(); ++at) {
        if (const std::size_t length = newlineLength(*rest, at); length > 0) {
            const std::string_view line = rest->substr(0, at);
            rest->remove_prefix(at + length);
            return line;
        }
    }
    return std::exchange(rest, std::nullopt);
}

}  // namespace ferrolt
