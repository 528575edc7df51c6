#include "ProgramLog.h"

#include "EndRequest.h"

#include <cerrno>

#include <poll.h>
#include <unistd.h>

namespace ferrolt::practice {

namespace {

/// Waits until standard output takes more; false when nobody takes it and the program has been asked to end.
bool outputHasRoom(const EndRequest &endRequest) {
    pollfd waited[] = {{STDOUT_FILENO, POLLOUT, 0}, {endRequest.descriptor(), POLLIN, 0}};
    while (poll(waited, 2, -1) < 0) {
        if (errno != EINTR)
            return false;
    }
    return waited[0].revents != 0;
}

}  // namespace

void ProgramLog::write(LogLevel urgency, std::string_view lines) const {
    if (urgency > level)
        return;
    std::string text = prefix;
    for (const char character : lines) {
        if (character == '\n')
            text.append("\n").append(prefix);
        else
            text.push_back(static_cast<unsigned char>(character) < 0x20 || character == 0x7f ? '?'
                                                                                             : character);
    }
    text.push_back('\n');
    for (std::string_view rest = text; !rest.empty() && outputHasRoom(endRequest);) {
        const auto written = ::write(STDOUT_FILENO, rest.data(), rest.size());
        if (written < 0 && errno != EINTR && errno != EAGAIN)
            return;
        if (written > 0)
            rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace ferrolt::practice
