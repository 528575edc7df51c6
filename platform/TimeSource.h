#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace ferrolt {

/// A one-shot timer. Destroying it cancels it.
class Timer {
  public:
    virtual ~Timer() = default;
};

/// The clock and the timers. Tests replace it, so that waits of thirty seconds or an hour take no time.
class TimeSource {
  public:
    using Duration = std::chrono::nanoseconds;

    virtual ~TimeSource() = default;

    /// A monotonic clock. Any thread.
    virtual Duration now() const = 0;

    /// Blocks the calling thread. Not on the main thread.
    virtual void sleepFor(Duration duration) = 0;

    /// Runs `work` once on the main thread after `delay`, unless the timer is destroyed before. Main thread.
    [[nodiscard]] virtual std::unique_ptr<Timer> startTimer(Duration delay, std::function<void()> work) = 0;

    /// As startTimer(), for work that is never cancelled. Main thread.
    virtual void callAfter(Duration delay, std::function<void()> work) = 0;
};

/// The real clock and the main thread's timers.
std::shared_ptr<TimeSource> systemTime();

}  // namespace ferrolt
