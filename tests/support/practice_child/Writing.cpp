#include "Misbehaviour.h"
#include "Output.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <thread>

#include <unistd.h>

namespace ferrolt::practice {

namespace {

std::string joined(const Words &words) {
    std::string text;
    for (const std::string &word : words)
        text.append(text.empty() ? "" : " ").append(word);
    return text;
}

void line(const Words &arguments) {
    writeOut(joined(arguments) + '\n');
}
void errorLine(const Words &arguments) {
    writeTo(STDERR_FILENO, joined(arguments) + '\n');
}
void text(const Words &arguments) {
    writeOut(joined(arguments));
}
void ready(const Words &) {
    writeOut("ready\n");
}

void bytes(const Words &arguments) {
    std::string digits;
    for (const std::string &word : arguments)
        digits.append(word);
    std::string decoded;
    for (std::size_t digit = 0; digit < digits.size(); digit += 2) {
        const std::string pair = digits.substr(digit, 2);
        if (pair.size() != 2 || pair.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            refuse("not pairs of hexadecimal digits: " + digits);
        decoded.push_back(static_cast<char>(std::stoi(pair, nullptr, 16)));
    }
    writeOut(decoded);
}

void notUtf8(const Words &) {
    writeOut("\xFF\xFE\xFD\xFC");
}

void splitCharacter(const Words &arguments) {
    const std::chrono::milliseconds between{numberIn(arguments[0], 0, INT_MAX)};
    writeOut("\xE2");
    std::this_thread::sleep_for(between);
    writeOut("\x82\xAC");
}

/// The running number, right-aligned among zeros, and a line feed.
std::string numberedWrite(long long number, std::size_t size) {
    const std::string digits = std::to_string(number);
    std::string text(size, '0');
    const auto shown = std::min(digits.size(), size - 1);
    text.replace(size - 1 - shown, shown, digits, digits.size() - shown, shown);
    text.back() = '\n';
    return text;
}

void writes(const Words &arguments) {
    const long long count = numberIn(arguments[0], 0, LLONG_MAX);
    const auto size = static_cast<std::size_t>(numberIn(arguments[1], 1, 65536));
    const long long perSecond = numberIn(arguments[2], 0, 1'000'000);
    const auto start = std::chrono::steady_clock::now();
    for (long long number = 0; count == 0 || number < count; ++number) {
        // Against the start and not against the last write, so that the rate holds on a busy machine too.
        if (perSecond > 0)
            std::this_thread::sleep_until(start +
                                          std::chrono::nanoseconds(1'000'000'000 / perSecond) * number);
        writeOut(numberedWrite(number, size));
    }
}

void closeOutput(const Words &) {
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
}

constexpr Misbehaviour list[] = {
    {"ready", "", 0, 0, "writes the line \"ready\"", ready},
    {"line", "WORD...", 0, -1, "writes the words and a line feed", line},
    {"error-line", "WORD...", 0, -1, "the same to standard error", errorLine},
    {"text", "WORD...", 0, -1, "writes the words and no line feed", text},
    {"bytes", "HEX...", 1, -1, "writes the bytes of these hexadecimal digits", bytes},
    {"not-utf8", "", 0, 0, "writes FF FE FD FC, which are UTF-8 in no reading", notUtf8},
    {"split-character", "MS", 1, 1,
     "writes the first of the three bytes of U+20AC and the other two MS milliseconds later; for a split "
     "that waits\n"
     "for the reader: bytes e2 then await-signal N then bytes 82ac",
     splitCharacter},
    {"writes", "COUNT BYTES PER_SECOND", 3, 3,
     "COUNT writes (0: for ever) of BYTES bytes, PER_SECOND of them in a second (0: as fast as can be), each "
     "the\n"
     "running number from 0 on, zeros before it and a line feed after it",
     writes},
    {"close-output", "", 0, 0, "closes its standard output and error", closeOutput},
};

}  // namespace

std::span<const Misbehaviour> writings() {
    return list;
}

}  // namespace ferrolt::practice
