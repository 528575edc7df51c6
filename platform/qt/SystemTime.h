#pragma once

#include "TimeSource.h"

#include <QTimer>

#include <chrono>
#include <functional>
#include <limits>

namespace ferrolt {

/// A timer of the real clock. QTimer holds milliseconds in an int, about 24 days; longer delays are split
/// into several QTimer runs.
class SystemTimer : public Timer {
  public:
    static constexpr std::chrono::milliseconds maxQtDelay{std::numeric_limits<int>::max()};

    /// Main thread, on which `work` runs once. The work may destroy the timer. `maxRun` is the maximum delay
    /// of one QTimer run.
    SystemTimer(TimeSource::Duration delay, std::function<void()> work,
                std::chrono::milliseconds maxRun = maxQtDelay);

  private:
    void next();

    std::chrono::milliseconds remaining;
    const std::chrono::milliseconds maxRun;
    std::function<void()> work;
    bool started = false;
    QTimer timer;
};

}  // namespace ferrolt
