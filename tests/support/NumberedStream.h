#pragma once

#include <string>

/// A text that a child writes and a test knows: numbered lines with characters of every length that UTF-8
/// has.
inline std::string numberedLine(long long number) {
    return std::to_string(number) + " x \xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80 " +
           std::string(static_cast<std::size_t>(number % 90), 'y') + '\n';
}

/// The last `bytes` bytes of the lines below `lines`; all of them if they are fewer.
inline std::string endOfNumberedLines(long long lines, std::size_t bytes) {
    long long first = lines;
    std::size_t length = 0;
    while (first > 0 && length < bytes)
        length += numberedLine(--first).size();
    std::string text;
    text.reserve(length);
    for (long long number = first; number < lines; ++number)
        text += numberedLine(number);
    return text.size() > bytes ? text.substr(text.size() - bytes) : text;
}
