#include "LogMailbox.h"

#include "MainQueue.h"

#include <QTimer>

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

void LogMailbox::handOverNow() {
    MainQueue::async([self = shared_from_this()] { self->deliver(); });
}

void LogMailbox::handOver() {
    if (isFlooded(deliver())) {
        QTimer::singleShot(pause, Qt::PreciseTimer, [self = shared_from_this()] { self->handOver(); });
        return;
    }
    {
        std::lock_guard lock(mutex);
        handOverUnderWay = !waiting.empty();
        if (!handOverUnderWay)
            return;
    }
    MainQueue::async([self = shared_from_this()] { self->handOver(); });
}

std::size_t LogMailbox::deliver() {
    std::deque<LogElement> taken;
    {
        std::lock_guard lock(mutex);
        taken.swap(waiting);
    }
    const std::size_t count = taken.size();
    if (count > 0)
        delivery({std::make_move_iterator(taken.begin()), std::make_move_iterator(taken.end())});
    return count;
}

/// Whether what has just been delivered makes more than a reader of the log would follow.
bool LogMailbox::isFlooded(std::size_t delivered) {
    const auto now = Clock::now();
    counted += delivered;
    const bool isFlood = counted > mostPrompt;
    if (isFlood || now - countedSince >= pause) {
        countedSince = now;
        counted = 0;
    }
    return isFlood;
}

}  // namespace ferrolt
