#include "Operations.h"
#include "Pipe.h"
#include "PipeReader.h"
#include "Process.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <span>
#include <utility>

namespace ferrolt {

namespace {

/// Gathered by the child's two threads.
struct Observed {
    std::mutex mutex;
    std::condition_variable changed;
    std::string output;
    int reports = 0;        ///< of its end
    bool isClosed = false;  ///< nothing more will be read
};

std::string failed(int error) {
    return "failed " + std::to_string(error);
}

/// As the supervisor does it, then SIGTERM once the child is ready.
std::string launch(const std::filesystem::path &executable) {
    const auto observed = std::make_shared<Observed>();
    Process process;
    process.setExecutable(executable);
    Pipe pipe = Pipe::open();
    if (!pipe.readingEnd.isValid())
        return failed(errno);
    process.setOutput(std::move(pipe.writingEnd));
    process.setTerminationHandler([observed](Process::Status) {
        const std::lock_guard lock(observed->mutex);
        ++observed->reports;
        observed->changed.notify_all();
    });
    // Destroyed with the reader's receiver.
    std::shared_ptr<void> closing(nullptr, [observed](void *) {
        const std::lock_guard lock(observed->mutex);
        observed->isClosed = true;
        observed->changed.notify_all();
    });
    const std::shared_ptr<PipeReader> reader = PipeReader::prepare(
        std::move(pipe.readingEnd),
        [observed, closing = std::move(closing)](std::span<const std::byte> bytes) {
            const std::lock_guard lock(observed->mutex);
            observed->output.append(reinterpret_cast<const char *>(bytes.data()), bytes.size());
            observed->changed.notify_all();
        });
    if (!reader)
        return failed(errno);
    process.setStartHook([reader] { return reader->begin(); });
    process.setExitHook([reader] { reader->childHasEnded(); });
    if (const auto error = process.launch())
        return failed(error->code);
    {
        std::unique_lock lock(observed->mutex);
        observed->changed.wait(lock, [&] {
            return observed->reports > 0 || observed->isClosed || observed->output.ends_with("ready\n");
        });
    }
    process.terminate();
    const int status = process.waitUntilExit();
    const std::lock_guard lock(observed->mutex);
    return "ended " + std::to_string(status) + ' ' + std::to_string(observed->reports) + '\n' +
           observed->output;
}

}  // namespace

Operation launchChild(const std::filesystem::path &folder) {
    return [executable = folder / "child"] { return launch(executable); };
}

}  // namespace ferrolt
