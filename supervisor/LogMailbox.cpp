#include "LogMailbox.h"

#include "MainQueue.h"

#include <iterator>
#include <utility>

namespace ferrolt {

void LogMailbox::post(LogElement element) {
    LogElement dropped;  // freed outside the lock
    {
        std::lock_guard lock(mutex);
        if (waiting.size() == mostWaiting) {
            dropped = std::move(waiting.front());
            waiting.pop_front();
        }
        waiting.push_back(std::move(element));
        if (std::exchange(handOverUnderWay, true))
            return;
    }
    // Outside the lock as well: the main thread, woken, wants it at once.
    MainQueue::async([self = shared_from_this()] { self->handOver(); });
}

void LogMailbox::handOver() {
    std::deque<LogElement> taken;
    {
        std::lock_guard lock(mutex);
        taken.swap(waiting);
        handOverUnderWay = false;
    }
    delivery({std::make_move_iterator(taken.begin()), std::make_move_iterator(taken.end())});
}

}  // namespace ferrolt
