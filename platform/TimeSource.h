#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace ferrolt {

/// A one-shot timer. Destroying it before its time invalidates it: the work never runs.
class Timer {
  public:
    virtual ~Timer() = default;
};

/// Time as the launcher sees it: a seam, so that a wait of thirty seconds or an hour can be shown in a
/// moment.
class TimeSource {
  public:
    using Duration = std::chrono::nanoseconds;

    virtual ~TimeSource() = default;

    /// Time since some fixed moment; never goes back. Any thread.
    virtual Duration now() const = 0;

    /// Blocks the calling thread, which must not be the main one.
    virtual void sleepFor(Duration duration) = 0;

    /// Runs `work` once on the main thread after `delay`, unless the timer is destroyed before. Main thread.
    [[nodiscard]] virtual std::unique_ptr<Timer> startTimer(Duration delay, std::function<void()> work) = 0;

    /// As startTimer(), for work that nothing ever cancels. Main thread.
    virtual void callAfter(Duration delay, std::function<void()> work) = 0;
};

/// The real clock and the main thread's timers.
std::shared_ptr<TimeSource> systemTime();

}  // namespace ferrolt
