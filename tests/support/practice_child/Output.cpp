#include "Output.h"

#include <cerrno>

#include <unistd.h>

namespace ferrolt::practice {

void writeTo(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = write(descriptor, bytes.data(), bytes.size());
        if (written >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            _exit(74);
    }
}

void writeOut(std::string_view bytes) {
    writeTo(STDOUT_FILENO, bytes);
}

}  // namespace ferrolt::practice
