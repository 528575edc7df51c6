#include "NetworkThread.h"

#include "ThreadName.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>

#include <system_error>
#include <utility>

namespace ferrolt {

namespace {

const QEvent::Type networkWakeUpEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

}  // namespace

class NetworkThread::Receiver : public QObject {
  public:
    Receiver(NetworkThread &thread, QEventLoop &loop) : thread(thread), loop(loop) {}

    bool event(QEvent *event) override {
        if (event->type() != networkWakeUpEvent)
            return QObject::event(event);
        std::deque<std::function<void()>> turn;
        {
            std::lock_guard lock(thread.mutex);
            thread.wakeUpUnderWay = false;
            if (thread.finishing) {
                loop.quit();
                return true;
            }
            turn.swap(thread.waiting);
        }
        for (auto &work : turn)
            work();
        return true;
    }

  private:
    NetworkThread &thread;
    QEventLoop &loop;
};

std::shared_ptr<NetworkThread> NetworkThread::start(std::function<void()> leaving) {
    std::shared_ptr<NetworkThread> started(new NetworkThread);
    std::lock_guard lock(started->mutex);
    try {
        started->thread = std::thread([started, leaving = std::move(leaving)]() mutable {
            nameThisThread("network");
            started->run();
            leaving();
            leaving = {};
            started->noteEnd();
        });
        started->id = started->thread.get_id();
    } catch (const std::system_error &) {
        return nullptr;
    }
    return started;
}

// Only a thread that nobody waited for is still joinable here, and then this is its own last act.
NetworkThread::~NetworkThread() {
    if (thread.joinable())
        thread.detach();
}

void NetworkThread::run() {
    QEventLoop loop;
    Receiver own(*this, loop);
    {
        std::lock_guard lock(mutex);
        receiver = &own;
        if (finishing || !waiting.empty())
            wakeUp();
    }
    loop.exec();
    std::deque<std::function<void()>> dropped;
    std::lock_guard lock(mutex);
    receiver = nullptr;
    dropped.swap(waiting);
}

void NetworkThread::noteEnd() {
    std::lock_guard lock(mutex);
    ended = true;
    changed.notify_all();
}

void NetworkThread::wakeUp() {
    if (wakeUpUnderWay || receiver == nullptr)
        return;
    wakeUpUnderWay = true;
    QCoreApplication::postEvent(receiver, new QEvent(networkWakeUpEvent));
}

void NetworkThread::post(std::function<void()> work) {
    std::lock_guard lock(mutex);
    if (finishing)
        return;
    waiting.push_back(std::move(work));
    wakeUp();
}

void NetworkThread::finish() {
    std::lock_guard lock(mutex);
    finishing = true;
    wakeUp();
}

void NetworkThread::waitForEnd(std::chrono::milliseconds longest) {
    std::thread last;
    {
        std::unique_lock lock(mutex);
        const bool itself = id == std::this_thread::get_id();
        if (itself || !changed.wait_for(lock, longest, [this] { return ended; })) {
            if (thread.joinable())
                thread.detach();
            return;
        }
        if (!thread.joinable()) {  // somebody else is seeing it off, or did not wait for it
            changed.wait_for(lock, std::chrono::milliseconds(100), [this] { return joined; });
            return;
        }
        last = std::move(thread);
    }
    last.join();
    std::lock_guard lock(mutex);
    joined = true;
    changed.notify_all();
}

}  // namespace ferrolt
