#include "FloodPattern.h"
#include "Misbehaviour.h"
#include "Output.h"

#include <climits>
#include <cstddef>

namespace ferrolt::practice {

namespace {

constexpr std::size_t blockSize = 65536;

const std::string &block() {
    static const std::string bytes = [] {
        std::string filled(blockSize, '\0');
        for (std::size_t offset = 0; offset < blockSize; ++offset)
            filled[offset] = floodByte(offset);
        return filled;
    }();
    return bytes;
}

void flood(const Words &) {
    while (true)
        writeOut(block());
}

void floodBlocks(const Words &arguments) {
    for (auto left = numberIn(arguments[0], 0, LLONG_MAX); left > 0; --left)
        writeOut(block());
}

void floodBytes(const Words &arguments) {
    auto left = static_cast<std::size_t>(numberIn(arguments[0], 0, LLONG_MAX));
    for (; left > blockSize; left -= blockSize)
        writeOut(block());
    writeOut(std::string_view(block()).substr(0, left));
}

constexpr Misbehaviour list[] = {
    {"flood", "", 0, 0, "writes blocks of 64 KiB for ever, as fast as the pipe takes them", flood},
    {"flood-blocks", "N", 1, 1, "writes N such blocks", floodBlocks},
    {"flood-bytes", "N", 1, 1, "writes N bytes in such blocks, the last one shorter", floodBytes},
};

}  // namespace

std::span<const Misbehaviour> floodings() {
    return list;
}

}  // namespace ferrolt::practice
