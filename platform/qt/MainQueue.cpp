#include "MainQueue.h"

#include <QCoreApplication>
#include <QEvent>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace ferrolt {

namespace {

/// Work waits in a list of our own and Qt carries one wake-up for all of it, so that a burst of a thousand
/// hand-overs costs the event loop one event.
class Receiver : public QObject {
  public:
    bool event(QEvent *event) override;
};

struct State {
    std::mutex mutex;
    std::deque<std::function<void()>> waiting;
    bool wakeUpUnderWay = false;
    bool closed = false;

    /// Held while the receiver is woken, and by nobody who works through the list: the main thread, woken,
    /// would only come to wait for the thread that woke it, which costs both of them more than all the rest.
    /// The price is that a thread which is to wake and is held up before it does holds up what others have
    /// handed over meanwhile, for as long as its turn on the processor takes to come again. Nothing is lost:
    /// whoever has set `wakeUpUnderWay` posts the event, or finds no receiver, and then open() posts it.
    std::mutex wakeUpMutex;
    Receiver *receiver = nullptr;
};

/// Never destroyed: a thread that outlives main() may still hand work over, and must find it refused.
State &state() {
    static State &instance = *new State;
    return instance;
}

const QEvent::Type wakeUpEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

void wakeUp(State &queue) {
    std::lock_guard lock(queue.wakeUpMutex);
    if (queue.receiver != nullptr)
        QCoreApplication::postEvent(queue.receiver, new QEvent(wakeUpEvent));
}

bool Receiver::event(QEvent *event) {
    if (event->type() != wakeUpEvent)
        return QObject::event(event);
    // Only what waited when the turn began: work that queues more work must not keep the window from drawing.
    std::deque<std::function<void()>> turn;
    {
        std::lock_guard lock(state().mutex);
        turn.swap(state().waiting);
        state().wakeUpUnderWay = false;
    }
    while (!turn.empty()) {
        auto work = std::move(turn.front());
        turn.pop_front();
        work();
    }
    return true;
}

void close() {
    std::deque<std::function<void()>> dropped;
    {
        std::lock_guard lock(state().mutex);
        state().closed = true;
        dropped.swap(state().waiting);
    }
    Receiver *receiver = nullptr;
    {
        std::lock_guard lock(state().wakeUpMutex);
        receiver = std::exchange(state().receiver, nullptr);
    }
    delete receiver;
}

/// The thread of the latest application object. Remembered, because another thread that asks must not look at
/// the object, which may be about to be destroyed.
std::atomic<std::thread::id> mainThread;

void open() {
    mainThread = std::this_thread::get_id();
    {
        std::lock_guard lock(state().wakeUpMutex);
        state().receiver = new Receiver;
    }
    qAddPostRoutine(close);
    bool isToWake = false;
    {
        std::lock_guard lock(state().mutex);
        state().closed = false;
        isToWake = !state().waiting.empty();
        state().wakeUpUnderWay = isToWake;
    }
    if (isToWake)
        wakeUp(state());
}

Q_COREAPP_STARTUP_FUNCTION(open)

}  // namespace

void MainQueue::async(std::function<void()> work) {
    {
        std::lock_guard lock(state().mutex);
        if (state().closed)
            return;
        state().waiting.push_back(std::move(work));
        if (std::exchange(state().wakeUpUnderWay, true))
            return;
    }
    wakeUp(state());
}

bool MainQueue::isMainThread() {
    return mainThread == std::this_thread::get_id();
}

void MainQueue::sync(const std::function<void()> &work) {
    if (isMainThread()) {
        work();
        return;
    }
    struct Turn {
        std::mutex mutex;
        std::condition_variable changed;
        bool over = false;

        void end() {
            std::lock_guard lock(mutex);
            over = true;
            changed.notify_all();
        }
    };
    auto turn = std::make_shared<Turn>();
    // The guard ends the turn when the work has run, and also when the queue drops the work unrun.
    auto guard = std::shared_ptr<void>(nullptr, [turn](void *) { turn->end(); });
    async([&work, guard = std::move(guard)] { work(); });
    std::unique_lock lock(turn->mutex);
    turn->changed.wait(lock, [&] { return turn->over; });
}

}  // namespace ferrolt
