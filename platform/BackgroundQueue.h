#pragma once

#include <functional>

namespace ferrolt {

enum class QualityOfService { Default, Utility };

/// The global background queues: work that may block for long and hands its result back through MainQueue.
class BackgroundQueue {
  public:
    /// Runs `work` on a thread of its own. Any thread. The work must not throw, must not hold what it cannot
    /// outlive, and does not keep the program from ending. False, and the work never runs, when the system
    /// has no thread to spare: a machine in a bad hour, which must not take the launcher along.
    [[nodiscard]] static bool async(QualityOfService service, std::function<void()> work);
};

}  // namespace ferrolt
