#pragma once

#include "BackgroundQueue.h"

#include <functional>
#include <memory>
#include <string>

namespace ferrolt {

/// A serial queue: pieces of work run one after the other, in the order in which they were handed over, on
/// one thread. There is a thread only while there is work.
///
/// Destroying the queue neither waits nor loses work: what was handed over still runs, and then the thread
/// ends. Like all background work it does not keep the program from ending.
class WorkQueue {
  public:
    /// `label` is for people: the part after its last dot names the thread.
    WorkQueue(std::string label, QualityOfService service);
    ~WorkQueue();
    WorkQueue(const WorkQueue &) = delete;
    WorkQueue &operator=(const WorkQueue &) = delete;

    const std::string &label() const;

    /// Runs `work` after all that was handed over before. Any thread, also one of the queue's own pieces of
    /// work. The work must not throw. False if the system has no thread to give; the work is then not run.
    [[nodiscard]] bool async(std::function<void()> work);

  private:
    struct Shared;
    std::shared_ptr<Shared> shared;
};

}  // namespace ferrolt
