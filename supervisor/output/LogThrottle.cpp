#include "LogThrottle.h"

#include "MainQueue.h"

#include <iterator>
#include <utility>

namespace ferrolt {

void LogThrottle::post(LogElement element) {
    LogElement dropped;  // freed outside the lock
    std::uint64_t wakeUp = 0;
    {
        std::lock_guard lock(mutex);
        if (waiting.size() == maxWaiting) {
            dropped = std::move(waiting.front());
            waiting.pop_front();
        }
        waiting.push_back(std::move(element));
        if (state == State::Woken || (state == State::AwaitingRefresh && waiting.size() < batchSize))
            return;
        state = State::Woken;
        wakeUp = ++latestWakeUp;
    }
    // Outside the lock: the main thread takes it as soon as it wakes.
    MainQueue::async([self = shared_from_this(), wakeUp] { self->wake(wakeUp); });
}

void LogThrottle::wake(std::uint64_t wakeUp) {
    {
        std::lock_guard lock(mutex);
        if (wakeUp != latestWakeUp)
            return;
        if (waiting.empty()) {
            state = State::Quiet;
            return;
        }
    }
    handOver();
}

void LogThrottle::handOver() {
    assertMainThread();
    std::deque<LogElement> batch;
    std::uint64_t wakeUp = 0;
    {
        std::lock_guard lock(mutex);
        if (waiting.empty())
            return;
        batch.swap(waiting);
        state = State::AwaitingRefresh;
        wakeUp = ++latestWakeUp;
    }
    time->callAfter(refreshInterval, [self = shared_from_this(), wakeUp] { self->wake(wakeUp); });
    if (delivery)
        delivery({std::make_move_iterator(batch.begin()), std::make_move_iterator(batch.end())});
}

void LogThrottle::close() {
    handOver();
    delivery = nullptr;
}

}  // namespace ferrolt
