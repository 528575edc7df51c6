#pragma once

#include "TimeSource.h"

#include <QTimer>

#include <chrono>
#include <functional>
#include <limits>

namespace ferrolt {

/// A timer of the real clock. Qt counts a timer's milliseconds in an int: about 24 days. A longer wait is
/// split into legs.
class SystemTimer : public Timer {
  public:
    static constexpr std::chrono::milliseconds qtsLongest{std::numeric_limits<int>::max()};

    /// Main thread, on which `work` runs once. The work may destroy the timer.
    SystemTimer(TimeSource::Duration delay, std::function<void()> work,
                std::chrono::milliseconds longestLeg = qtsLongest);

  private:
    void next();

    std::chrono::milliseconds remaining;
    const std::chrono::milliseconds longestLeg;
    std::function<void()> work;
    bool started = false;
    QTimer timer;
};

}  // namespace ferrolt
