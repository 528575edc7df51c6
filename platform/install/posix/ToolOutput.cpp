#include "ToolOutput.h"

#include "MainQueue.h"

#include <cerrno>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace ferrolt {

ToolOutput::ToolOutput(const std::filesystem::path &executable, const std::vector<std::string> &arguments)
    : pipe(Pipe::open()) {
    assertNotMainThread();
    if (!pipe.readingEnd.isValid())
        return;
    process.setExecutable(executable);
    process.setArguments(arguments);
    process.setOutput(std::move(pipe.writingEnd));
    launched = !process.launch().has_value();
}

ToolOutput::~ToolOutput() {
    pipe.readingEnd.close();
    process.terminate();
    process.waitUntilExit();
}

ssize_t ToolOutput::read(std::span<char> buffer) {
    Q_ASSERT(launched);
    while (true) {
        const ssize_t count = ::read(pipe.readingEnd.get(), buffer.data(), buffer.size());
        if (count >= 0 || (errno != EAGAIN && errno != EINTR))
            return count;
        pollfd waiting{pipe.readingEnd.get(), POLLIN, 0};
        poll(&waiting, 1, -1);
    }
}

}  // namespace ferrolt
