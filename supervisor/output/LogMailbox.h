#pragma once

#include "LogBuffer.h"
#include "TimeSource.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace ferrolt {

/// Whether anybody can see a log as it grows.
enum class LogAudience { Nobody, Watching };

/// Holds what a reader's thread has decoded until the main thread takes it. One hand-over carries all that
/// waits, and no more than the newest 1000 elements ever wait: the log keeps no more, so what is older could
/// not be seen anyway. A main thread that is busy therefore costs neither memory without bound nor the
/// child's time.
///
/// States: prompt --more elements come than anybody reads--> paced --few have come in a pause--> prompt. When
/// prompt, an element is handed over at once. When paced, the main thread takes what has come every few
/// milliseconds: to be woken for each of thirty thousand elements a second would keep it from all else.
///
/// Waking the main thread is most of what an element costs. It is therefore not woken for each element of a
/// child that writes often: after some that came soon after one another it rests for a moment. While nobody
/// watches it rests sooner and for longer, and again as long as a rest brings several; a rest in which many
/// come ends at once.
class LogMailbox : public std::enable_shared_from_this<LogMailbox> {
  public:
    /// Gives back what is not needed any more.
    using Delivery = std::function<std::vector<LogElement>(std::vector<LogElement>)>;
    using Audience = std::function<LogAudience()>;

    static constexpr std::size_t mostWaiting = 1000;
    /// More elements than this in one pause's time are a flood: 4000 a second.
    static constexpr std::size_t mostPrompt = 16;
    static constexpr std::chrono::milliseconds pause{4};
    /// What nobody sees may come this much later.
    static constexpr std::chrono::milliseconds rest{20};
    /// What comes in a rest of this length waits for half of it on the average, and after a few of them the
    /// next element is handed over at once: of all elements, most are in the log within a millisecond.
    static constexpr std::chrono::milliseconds restWatched{2};
    static constexpr int mostRestsWatched = 2;
    /// So many hand-overs in a row must have come soon after one another before a watched log's mailbox
    /// rests. A child that writes two lines at a time, and then a pause, has both of them in the log at once.
    static constexpr int mostFrequent = 8;
    /// More elements than this end a rest: a flood has begun, and what waits takes memory.
    static constexpr std::size_t mostInRest = 64;

    /// Both are called on the main thread. Owned by a std::shared_ptr.
    LogMailbox(Delivery delivery, Audience audience, std::shared_ptr<TimeSource> time = systemTime())
        : delivery(std::move(delivery)), audience(std::move(audience)), time(std::move(time)) {}

    /// Any thread; never waits for the main one.
    void post(LogElement element);

    /// What waits is delivered without a pause, before anything that is handed to the main queue after this.
    /// Any thread.
    void handOverNow();

  private:
    using Duration = TimeSource::Duration;

    /// What has brought the main thread here.
    enum class Cause { Woken, Rested };

    struct Delivered {
        std::size_t count = 0;
        std::vector<LogElement> outdated;
    };

    void handOver(Cause cause);
    Delivered deliver();
    std::chrono::milliseconds restAfter(std::size_t delivered, Duration sinceLast, Cause cause);
    bool isFlooded(std::size_t delivered, Duration now);

    const Delivery delivery;
    const Audience audience;
    const std::shared_ptr<TimeSource> time;
    std::mutex mutex;
    std::deque<LogElement> waiting;
    /// What the main thread gives back to the one that posts, which made it, while many come: to free another
    /// thread's thirty thousand elements a second costs it more than all else that it does with them, and
    /// holds up both. It is here no longer than until the next hand-over.
    std::vector<LogElement> given;
    bool handOverUnderWay = false;
    bool isResting = false;

    // The main thread's alone.
    unsigned handOvers = 0;
    int frequent = 0;  ///< hand-overs in a row
    int rests = 0;     ///< in a row, without a prompt hand-over between them
    Duration lastHandOver{0};
    Duration countedSince{0};
    std::size_t counted = 0;
};

}  // namespace ferrolt
