#include "MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace ferrolt {

namespace {

/// Not QMetaObject::invokeMethod(): Qt's own locks are invisible to ThreadSanitizer, which would report every
/// piece of work as a data race. The atomic shows it that the work was written before it is read.
class WorkEvent : public QEvent {
  public:
    explicit WorkEvent(std::function<void()> work) : QEvent(workType), work(std::move(work)) {
        isWritten.store(true, std::memory_order_release);
    }
    void run() const {
        if (isWritten.load(std::memory_order_acquire))
            work();
    }

    static const Type workType;

  private:
    const std::function<void()> work;
    std::atomic<bool> isWritten = false;
};

const QEvent::Type WorkEvent::workType = static_cast<QEvent::Type>(QEvent::registerEventType());

class Receiver : public QObject {
  public:
    bool event(QEvent *event) override {
        if (event->type() != WorkEvent::workType)
            return QObject::event(event);
        static_cast<const WorkEvent *>(event)->run();
        return true;
    }
};

struct Queue {
    const std::thread::id mainThread = std::this_thread::get_id();
    std::mutex mutex;
    /// Qt keeps the work that is posted to this object, in order, and runs it on the main thread. Null while
    /// work is dropped: after an application object has gone, until the next one is made.
    QObject *receiver = new Receiver;
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
            queue.receiver = new Receiver;
    }
    qAddPostRoutine(close);
}

Q_COREAPP_STARTUP_FUNCTION(open)

}  // namespace

void MainQueue::async(std::function<void()> work) {
    // Held while posting, so that the receiver is not deleted meanwhile.
    std::lock_guard lock(queue.mutex);
    if (queue.receiver != nullptr)
        QCoreApplication::postEvent(queue.receiver, new WorkEvent(std::move(work)));
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
