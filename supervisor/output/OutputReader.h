#pragma once

#include "ChunkDecoder.h"
#include "LogMailbox.h"
#include "PipeReader.h"

#include <functional>
#include <memory>
#include <vector>

namespace ferrolt {

/// Turns what a child writes into elements of its log: reads and decodes on a thread of its own, delivers on
/// the main thread, one element for each read, in order. A read that replacement characters would make too
/// large counts as several. An object of this type is the observer token of a subscription.
///
/// States: attached, and reading after begin() --detach()--> detached. Once detached the pipe is still
/// emptied until the child ends, but no further read becomes an element; what was read before is still
/// delivered.
class OutputReader {
  public:
    /// Subscribes to the pipe. `delivery` and `audience` are called on the main thread and must hold what
    /// they reach weakly. Null when the system has no descriptor to give; errno is set then.
    static std::shared_ptr<OutputReader> attachReader(FileDescriptor readingEnd,
                                                      LogMailbox::Delivery delivery,
                                                      LogMailbox::Audience audience);

    /// To be called once the child runs: 0, or an errno value when the system has no thread to give.
    int begin() { return reader->begin(); }

    void detach() { reader->detach(); }

    /// Delivers what the child left in the pipe and closes it; see PipeReader::childHasEnded(). The delivery
    /// comes before anything that is handed to the main queue after this. Only after begin().
    void childHasEnded();

  private:
    OutputReader(std::shared_ptr<PipeReader> reader, std::shared_ptr<LogMailbox> mailbox)
        : reader(std::move(reader)), mailbox(std::move(mailbox)) {}

    std::shared_ptr<PipeReader> reader;
    std::shared_ptr<LogMailbox> mailbox;
};

using ObserverToken = std::shared_ptr<OutputReader>;

}  // namespace ferrolt
