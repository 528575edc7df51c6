#include "MainQueue.h"

#include <QCoreApplication>
#include <QObject>

#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace ferrolt {

namespace {

struct Queue {
    const std::thread::id mainThread = std::this_thread::get_id();
    std::mutex mutex;
    /// Qt keeps the work that is posted to this object, in order, and runs it on the main thread. Null while
    /// work is dropped: after an application object has gone, until the next one is made.
    QObject *receiver = new QObject;
};

/// Made before main() begins, on the thread that will run main(). Never destroyed: a background thread may
/// still hand work over while the program exits.
Queue &queue = *new Queue;

/// Qt would keep what is posted after the application object has gone, and never run it: a thread that waits
/// for it would wait for ever.
void close() {
    QObject *receiver = nullptr;
    {
        std::lock_guard lock(queue.mutex);
        receiver = std::exchange(queue.receiver, nullptr);
    }
    // Outside the lock: this destroys the work that has not run, which may hand over more.
    delete receiver;
}

void open() {
    {
        std::lock_guard lock(queue.mutex);
        if (queue.receiver == nullptr)
            queue.receiver = new QObject;
    }
    qAddPostRoutine(close);
}

Q_COREAPP_STARTUP_FUNCTION(open)

}  // namespace

void MainQueue::async(std::function<void()> work) {
    // Held while posting, so that the receiver is not deleted meanwhile.
    std::lock_guard lock(queue.mutex);
    if (queue.receiver != nullptr)
        QMetaObject::invokeMethod(queue.receiver, std::move(work), Qt::QueuedConnection);
}

bool MainQueue::isMainThread() {
    return std::this_thread::get_id() == queue.mainThread;
}

void MainQueue::sync(const std::function<void()> &work) {
    if (isMainThread()) {
        work();
        return;
    }
    auto task = std::make_shared<std::packaged_task<void()>>(work);
    const std::future<void> done = task->get_future();
    // If the queue drops the task, the destroyed task ends the wait as well.
    async([task = std::move(task)] { (*task)(); });
    done.wait();
}

}  // namespace ferrolt
