#pragma once

#include "LogBuffer.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace ferrolt {

/// Holds what a reader's thread has decoded until the main thread takes it. One hand-over carries all that
/// waits, and no more than the newest 1000 elements ever wait: the log keeps no more, so what is older could
/// not be seen anyway. A main thread that is busy therefore costs neither memory without bound nor the
/// child's time.
///
/// States: prompt --more elements come than anybody reads--> paced --few have come in a pause--> prompt. When
/// prompt, an element is handed over at once. When paced, the main thread takes what has come every few
/// milliseconds: to be woken for each of thirty thousand elements a second would keep it from all else.
class LogMailbox : public std::enable_shared_from_this<LogMailbox> {
  public:
    using Delivery = std::function<void(std::vector<LogElement>)>;

    static constexpr std::size_t mostWaiting = 1000;
    /// More elements than this in one pause's time are a flood: 4000 a second.
    static constexpr std::size_t mostPrompt = 16;
    static constexpr std::chrono::milliseconds pause{4};

    /// `delivery` is called on the main thread. Owned by a std::shared_ptr.
    explicit LogMailbox(Delivery delivery) : delivery(std::move(delivery)) {}

    /// Any thread; never waits for the main one.
    void post(LogElement element);

    /// What waits is delivered without a pause, before anything that is handed to the main queue after this.
    /// Any thread.
    void handOverNow();

  private:
    using Clock = std::chrono::steady_clock;

    void handOver();
    std::size_t deliver();
    bool isFlooded(std::size_t delivered);

    const Delivery delivery;
    std::mutex mutex;
    std::deque<LogElement> waiting;
    bool handOverUnderWay = false;

    // The main thread's alone.
    Clock::time_point countedSince;
    std::size_t counted = 0;
};

}  // namespace ferrolt
