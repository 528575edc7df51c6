#include "WorkQueue.h"

#include "ThreadName.h"

#include <QtGlobal>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace ferrolt {

struct WorkQueue::Shared {
    std::string label;
    std::string threadName;
    QualityOfService service;
    std::mutex mutex;
    std::condition_variable done;
    std::deque<std::function<void()>> waiting;
    bool running = false;

    void run();
};

namespace {

/// Linux refuses a thread name of more than 15 characters. The reverse domain in front is dropped, because it
/// is the same for all queues.
std::string threadNameOf(const std::string &label) {
    const auto dot = label.rfind('.');
    return label.substr(dot == std::string::npos ? 0 : dot + 1, 15);
}

}  // namespace

WorkQueue::WorkQueue(std::string label, QualityOfService service) : shared(std::make_shared<Shared>()) {
    shared->threadName = threadNameOf(label);
    shared->label = std::move(label);
    shared->service = service;
}

WorkQueue::~WorkQueue() = default;

const std::string &WorkQueue::label() const {
    return shared->label;
}

bool WorkQueue::async(std::function<void()> work) {
    Q_ASSERT(work);
    std::lock_guard lock(shared->mutex);
    if (!shared->running) {
        try {
            std::thread([shared = shared] { shared->run(); }).detach();
        } catch (const std::system_error &) {
            return false;
        }
        shared->running = true;
    }
    shared->waiting.push_back(std::move(work));
    return true;
}

bool WorkQueue::waitUntilDone(std::chrono::milliseconds timeout) const {
    std::unique_lock lock(shared->mutex);
    return shared->done.wait_for(lock, timeout, [this] { return !shared->running; });
}

void WorkQueue::Shared::run() {
    nameThisThread(threadName.c_str());
    if (service == QualityOfService::Utility)
        lowerThisThread();
    while (true) {
        std::function<void()> work;
        {
            std::lock_guard lock(mutex);
            if (waiting.empty()) {
                running = false;
                done.notify_all();
                return;
            }
            work = std::move(waiting.front());
            waiting.pop_front();
        }
        work();
    }
}

}  // namespace ferrolt
