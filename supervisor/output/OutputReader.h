#pragma once

#include "LogThrottle.h"
#include "PipeReader.h"

#include <memory>

namespace ferrolt {

/// Turns a child's output into elements of its log: reads and decodes on a thread of its own, delivers on the
/// main thread through a LogThrottle. Each read becomes one element, in order; a read that replacement
/// characters would make too large becomes several. An object of this type is the observer token of a
/// subscription.
///
/// States: attached, and reading after begin() --detach()--> detached. The pipe of a detached reader is still
/// emptied until the child ends, so that the child is not blocked, but nothing more is delivered.
class OutputReader {
  public:
    /// Subscribes to the pipe. `delivery` is called on the main thread and must hold the objects that it uses
    /// weakly. Null if the system has no descriptor to give; errno is set then.
    static std::shared_ptr<OutputReader> attachReader(FileDescriptor readingEnd,
                                                      LogThrottle::Delivery delivery);

    /// Starts reading, once; to be called when the child runs. 0, or an errno value if the system has no
    /// thread to give.
    int begin() { return reader->begin(); }

    /// Delivers all output that arrived before this call. Main thread.
    void handOver() { throttle->handOver(); }

    /// Delivers all output that arrived before this call, and none from then on. Main thread.
    void detach();

    /// Reads what the child left in the pipe and closes it; see PipeReader::childHasEnded(). The next
    /// handOver() delivers it. Only after a begin() that returned 0.
    void childHasEnded() { reader->childHasEnded(); }

  private:
    OutputReader(std::shared_ptr<PipeReader> reader, std::shared_ptr<LogThrottle> throttle)
        : reader(std::move(reader)), throttle(std::move(throttle)) {}

    std::shared_ptr<PipeReader> reader;
    std::shared_ptr<LogThrottle> throttle;
};

using ObserverToken = std::shared_ptr<OutputReader>;

}  // namespace ferrolt
