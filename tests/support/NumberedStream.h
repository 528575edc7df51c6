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
    std::string text;
    for (long long number = lines; number > 0 && text.size() < bytes;) {
        // In portions, so that it is not moved for every line.
        const long long from = number > 1000 ? number - 1000 : 0;
        std::string portion;
        for (long long i = from; i < number; ++i)
            portion += numberedLine(i);
        text.insert(0, portion);
        number = from;
    }
    return text.size() > bytes ? text.substr(text.size() - bytes) : text;
}
