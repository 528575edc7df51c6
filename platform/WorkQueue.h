#pragma once

#include "BackgroundQueue.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace ferrolt {

/// A serial queue: runs pieces of work one after the other, in the order of async(), on one thread. The
/// thread exists only while there is work.
///
/// Destroying the queue does not wait and loses no work: the queued work still runs, and then the thread
/// ends. As with BackgroundQueue, the program does not wait for the work when it ends.
class WorkQueue {
  public:
    /// The part of `label` after its last dot names the thread.
    WorkQueue(std::string label, QualityOfService service);
    ~WorkQueue();
    WorkQueue(const WorkQueue &) = delete;
    WorkQueue &operator=(const WorkQueue &) = delete;

    const std::string &label() const;

    /// Queues `work`. Any thread, also from inside the queue's own work. The work must not throw. Returns
    /// false, and does not run the work, if the system cannot create a thread.
    [[nodiscard]] bool async(std::function<void()> work);

    /// Waits until no work is left, but no longer than `timeout`: false if some is left then. Any thread but
    /// the queue's.
    bool waitUntilDone(std::chrono::milliseconds timeout) const;

  private:
    struct Shared;
    std::shared_ptr<Shared> shared;
};

}  // namespace ferrolt
