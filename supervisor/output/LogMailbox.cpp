#include "LogMailbox.h"

#include "MainQueue.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ferrolt {

using namespace std::chrono_literals;

void LogMailbox::post(LogElement element) {
    LogElement dropped;  // freed outside the lock, both of them
    std::vector<LogElement> outdated;
    {
        std::lock_guard lock(mutex);
        outdated.swap(given);
        if (waiting.size() == mostWaiting) {
            dropped = std::move(waiting.front());
            waiting.pop_front();
        }
        waiting.push_back(std::move(element));
        const bool endsRest = isResting && waiting.size() > mostInRest;
        if (std::exchange(handOverUnderWay, true) && !endsRest)
            return;
        isResting = false;
    }
    // Outside the lock as well: the main thread, woken, wants it at once.
    MainQueue::async([self = shared_from_this()] { self->handOver(Cause::Woken); });
}

void LogMailbox::handOverNow() {
    MainQueue::async([self = shared_from_this()] { self->deliver(); });
}

void LogMailbox::handOver(Cause cause) {
    const unsigned number = ++handOvers;
    Delivered delivered = deliver();
    const Duration now = time->now();
    const auto sinceLast = now - std::exchange(lastHandOver, now);
    const bool isFlood = isFlooded(delivered.count, now);
    const auto untilNext = isFlood ? pause : restAfter(delivered.count, sinceLast, cause);
    if (untilNext > 0ms) {
        {
            std::lock_guard lock(mutex);
            given.swap(delivered.outdated);
            isResting = !isFlood;
        }
        time->callAfter(untilNext, [self = shared_from_this(), number] {
            if (self->handOvers == number)  // else the rest has ended early
                self->handOver(Cause::Rested);
        });
        return;
    }
    {
        std::lock_guard lock(mutex);
        isResting = false;
        handOverUnderWay = !waiting.empty();
        if (!handOverUnderWay)
            return;
    }
    MainQueue::async([self = shared_from_this()] { self->handOver(Cause::Woken); });
}

LogMailbox::Delivered LogMailbox::deliver() {
    std::deque<LogElement> taken;
    std::vector<LogElement> left;  // what the reader had no reason to come for since
    {
        std::lock_guard lock(mutex);
        taken.swap(waiting);
        left.swap(given);
    }
    const std::size_t count = taken.size();
    if (count == 0)
        return {};
    return {count, delivery({std::make_move_iterator(taken.begin()), std::make_move_iterator(taken.end())})};
}

/// For how long the main thread is not to be woken, now that it has taken what waited.
std::chrono::milliseconds LogMailbox::restAfter(std::size_t delivered, Duration sinceLast, Cause cause) {
    if (delivered == 0) {
        frequent = 0;
        return 0ms;
    }
    const bool isWatched = audience() == LogAudience::Watching;
    const bool isFrequent =
        cause == Cause::Rested ? delivered > 1 : sinceLast <= (isWatched ? restWatched : pause);
    if (!isWatched)
        return isFrequent ? rest : 0ms;
    frequent = isFrequent ? frequent + 1 : 0;
    rests = cause == Cause::Rested ? rests + 1 : 0;
    return frequent > mostFrequent && rests < mostRestsWatched ? restWatched : 0ms;
}

/// Whether what has been delivered lately makes more than a reader of the log would follow.
bool LogMailbox::isFlooded(std::size_t delivered, Duration now) {
    counted += delivered;
    const auto period = std::max<Duration>(now - countedSince, pause);
    const bool isFlood = counted * pause > mostPrompt * period;
    if (isFlood || period > pause) {
        countedSince = now;
        counted = 0;
    }
    return isFlood;
}

}  // namespace ferrolt
