#include "Output.h"

#include <algorithm>

#include <unistd.h>

namespace ferrolt::practice {

void say(const std::string &bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const ssize_t count = write(STDOUT_FILENO, bytes.data() + at, bytes.size() - at);
        if (count < 0)
            _exit(66);
        at += static_cast<std::size_t>(count);
    }
}

void sayLine(std::string line) {
    const auto isControl = [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
    };
    std::replace_if(line.begin(), line.end(), isControl, '?');
    say(line + '\n');
}

}  // namespace ferrolt::practice
