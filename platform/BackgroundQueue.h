#pragma once

#include <functional>

namespace ferrolt {

enum class QualityOfService { Default, Utility };

/// Runs work that may block for a long time, in parallel, off the main thread. The work hands its result back
/// through MainQueue.
class BackgroundQueue {
  public:
    /// Runs `work` on a new thread. Any thread. The work must not throw. The program does not wait for it
    /// when it ends, so the work must own or share all that it uses. Returns false, and does not run the
    /// work, if the system cannot create a thread.
    [[nodiscard]] static bool async(QualityOfService service, std::function<void()> work);
};

}  // namespace ferrolt
