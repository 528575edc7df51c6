#include "PipeReader.h"

#include "Pipe.h"
#include "ThreadName.h"
#include "WidenPipe.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ferrolt {

/// Shared by the object and the reading thread, whichever lives longer.
struct PipeReader::Shared {
    FileDescriptor readingEnd;  // the thread's alone
    Pipe wakeUp;
    Receiver receiver;  // the thread's alone, both of them
    Room room;
    std::atomic<bool> detached = false;
    std::atomic<bool> childEnded = false;
    /// The thread's alone, but made by whoever starts it.
    const std::unique_ptr<std::byte[]> bytes = std::make_unique_for_overwrite<std::byte[]>(largestRead);

    std::mutex mutex;
    std::condition_variable changed;
    bool closed = false;

    /// `Full`: as much as was asked for, so that there may be more. `Some`: all that there was.
    enum class Read { Full, Some, NothingYet, End };

    void run();
    void waitForBytes();
    std::size_t mostOfNextRead() const { return room ? std::min(room(), largestRead) : largestRead; }
    Read readOnce(std::size_t most);
    void takeWhatIsLeft();
};

PipeReader::Shared::Read PipeReader::Shared::readOnce(std::size_t most) {
    const ssize_t count = read(readingEnd.get(), bytes.get(), most);
    if (count < 0)
        return errno == EAGAIN || errno == EINTR ? Read::NothingYet : Read::End;
    if (count == 0)
        return Read::End;
    if (!detached.load(std::memory_order_acquire))
        receiver({bytes.get(), static_cast<std::size_t>(count)});
    return static_cast<std::size_t>(count) == most ? Read::Full : Read::Some;
}

void PipeReader::Shared::waitForBytes() {
    pollfd sources[] = {{readingEnd.get(), POLLIN, 0}, {wakeUp.readingEnd.get(), POLLIN, 0}};
    poll(sources, 2, -1);
}

/// A grandchild may hold the pipe and write on for ever: only what is in it now belongs to the child.
void PipeReader::Shared::takeWhatIsLeft() {
    int left = 0;
    if (ioctl(readingEnd.get(), FIONREAD, &left) != 0)
        return;
    for (auto remaining = static_cast<std::size_t>(std::max(left, 0)); remaining > 0;) {
        const std::size_t most = std::min(remaining, mostOfNextRead());
        if (readOnce(most) == Read::End)
            return;
        remaining -= most;
    }
}

void PipeReader::Shared::run() {
    nameThisThread("child-output");
    for (;;) {
        if (childEnded.load(std::memory_order_acquire)) {
            takeWhatIsLeft();
            break;
        }
        const Read outcome = readOnce(mostOfNextRead());
        if (outcome == Read::End)
            break;
        if (outcome != Read::Full)
            waitForBytes();
    }
    readingEnd.close();
    receiver = nullptr;
    room = nullptr;
    std::lock_guard lock(mutex);
    closed = true;
    changed.notify_all();
}

std::shared_ptr<PipeReader> PipeReader::prepare(FileDescriptor readingEnd, Receiver receiver, Room room) {
    auto shared = std::make_shared<Shared>();
    shared->readingEnd = std::move(readingEnd);
    shared->receiver = std::move(receiver);
    shared->room = std::move(room);
    widenPipe(shared->readingEnd.get());
    shared->wakeUp = Pipe::open();
    if (!shared->wakeUp.readingEnd.isValid())
        return nullptr;
    return std::shared_ptr<PipeReader>(new PipeReader(std::move(shared)));
}

int PipeReader::begin() {
    try {
        std::thread([shared = shared] { shared->run(); }).detach();
    } catch (const std::system_error &failure) {
        return failure.code().value();
    }
    return 0;
}

PipeReader::PipeReader(std::shared_ptr<Shared> shared) : shared(std::move(shared)) {}

PipeReader::~PipeReader() {
    detach();
}

void PipeReader::detach() {
    shared->detached.store(true, std::memory_order_release);
}

void PipeReader::childHasEnded() {
    shared->childEnded.store(true, std::memory_order_release);
    const char wake = 0;
    [[maybe_unused]] const ssize_t written = write(shared->wakeUp.writingEnd.get(), &wake, 1);
    std::unique_lock lock(shared->mutex);
    shared->changed.wait(lock, [&] { return shared->closed; });
}

}  // namespace ferrolt
