#pragma once

#include <string>

namespace ferrolt {

/// A line of 100 bytes of what logs may hold: plain text, or of the kind "characters", "colours" or "binary".
inline std::string floodLine(const std::string &kind) {
    if (kind == "characters") {
        std::string line;
        while (line.size() < 98)
            line += "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x9A\x80 zz";  // of 2, 3 and 4 bytes, and of one
        return line + "x\n";
    }
    if (kind == "colours")
        return "\x1B[32mok\x1B[0m\tcolumn\t\x1B[1;31mfailed\x1B[0m " + std::string(60, 'x') + "\r\n";
    if (kind == "binary") {
        std::string line;
        for (unsigned i = 0; i < 99; ++i)
            line += static_cast<char>(static_cast<unsigned char>(i * 151 + 13));
        return line + '\n';
    }
    return std::string(99, 'x') + '\n';
}

/// A block of a flood, without its number.
inline std::string floodBlock(std::size_t size, const std::string &kind) {
    // The first line is for the number, and what is over at the end is plain too: nothing is cut.
    std::string block = floodLine({});
    for (const std::string line = floodLine(kind); block.size() + line.size() <= size;)
        block += line;
    block.resize(size, 'x');
    return block;
}

/// Each block names its number at its start, so that a reader can tell which ones it has.
inline void numberFloodBlock(std::string &block, long long number) {
    const std::string head = "block " + std::to_string(number) + '\n';
    if (head.size() <= block.size())
        block.replace(0, head.size(), head);
}

}  // namespace ferrolt
