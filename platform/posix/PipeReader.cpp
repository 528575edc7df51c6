#include "PipeReader.h"

#include "Pipe.h"
#include "ThreadName.h"
#include "WidenPipe.h"

#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ferrolt {

/// Shared by the object and the reading thread, and destroyed with the last of them.
struct PipeReader::Shared {
    // Once the reading thread runs, it alone uses these three.
    FileDescriptor readingEnd;
    Receiver receiver;
    const std::unique_ptr<std::byte[]> bytes = std::make_unique_for_overwrite<std::byte[]>(maxRead);

    Pipe wakeUp;  ///< interrupts the wait for bytes when its writing end is closed
    std::atomic<bool> detached = false;
    std::atomic<bool> childEnded = false;
    std::atomic<std::thread::id> thread;  ///< that reads; only assertions ask for it

    std::mutex mutex;
    std::condition_variable changed;
    bool closed = false;

    /// `Full`: as many bytes as were asked for, so there may be more. `Some`: all that there were.
    enum class Read { Full, Some, NothingYet, End };

    void run();
    void waitForBytes();
    Read readOnce(std::size_t max);
    void readWhatIsLeft();
};

PipeReader::Shared::Read PipeReader::Shared::readOnce(std::size_t max) {
    const ssize_t count = read(readingEnd.get(), bytes.get(), max);
    if (count < 0)
        return errno == EAGAIN || errno == EINTR ? Read::NothingYet : Read::End;
    if (count == 0)
        return Read::End;
    if (!detached.load(std::memory_order_acquire))
        receiver({bytes.get(), static_cast<std::size_t>(count)});
    return static_cast<std::size_t>(count) == max ? Read::Full : Read::Some;
}

void PipeReader::Shared::waitForBytes() {
    pollfd sources[] = {{readingEnd.get(), POLLIN, 0}, {wakeUp.readingEnd.get(), POLLIN, 0}};
    poll(sources, 2, -1);
}

/// Not until the end of file: a grandchild may hold the pipe open and go on writing. Only the bytes that are
/// in the pipe now are the child's.
void PipeReader::Shared::readWhatIsLeft() {
    int left = 0;
    if (ioctl(readingEnd.get(), FIONREAD, &left) != 0)
        return;
    for (auto remaining = static_cast<std::size_t>(std::max(left, 0)); remaining > 0;) {
        const std::size_t max = std::min(remaining, maxRead);
        if (readOnce(max) == Read::End)
            return;
        remaining -= max;
    }
}

void PipeReader::Shared::run() {
    nameThisThread("child-output");
    for (;;) {
        if (childEnded.load(std::memory_order_acquire)) {
            readWhatIsLeft();
            break;
        }
        const Read outcome = readOnce(maxRead);
        if (outcome == Read::End)
            break;
        if (outcome != Read::Full)
            waitForBytes();
    }
    readingEnd.close();
    receiver = nullptr;
    std::lock_guard lock(mutex);
    closed = true;
    changed.notify_all();
}

std::shared_ptr<PipeReader> PipeReader::prepare(FileDescriptor readingEnd, Receiver receiver) {
    Q_ASSERT((fcntl(readingEnd.get(), F_GETFL) & O_NONBLOCK) != 0);
    auto shared = std::make_shared<Shared>();
    shared->readingEnd = std::move(readingEnd);
    shared->receiver = std::move(receiver);
    widenPipe(shared->readingEnd.get());
    shared->wakeUp = Pipe::open();
    if (!shared->wakeUp.readingEnd.isValid())
        return nullptr;
    return std::shared_ptr<PipeReader>(new PipeReader(std::move(shared)));
}

int PipeReader::begin() {
    Q_ASSERT(shared->thread.load() == std::thread::id());
    try {
        std::thread thread([shared = shared] { shared->run(); });
        shared->thread = thread.get_id();
        thread.detach();
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
    Q_ASSERT(shared->thread.load() != std::thread::id());
    shared->childEnded.store(true, std::memory_order_release);
    // Not by a write, which can lack the memory; the wait below would then never end while another process
    // holds the pipe open.
    shared->wakeUp.writingEnd.close();
    std::unique_lock lock(shared->mutex);
    // Once the reading thread has ended another one may have its id.
    Q_ASSERT(shared->closed || shared->thread.load() != std::this_thread::get_id());
    shared->changed.wait(lock, [&] { return shared->closed; });
}

}  // namespace ferrolt
