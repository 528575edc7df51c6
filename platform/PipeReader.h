#pragma once

#include "FileDescriptor.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

namespace ferrolt {

/// Reads a pipe on a thread of its own, one read at a time, as fast as the other side writes.
///
/// States: prepared --begin()--> reading --end of file, or childHasEnded()--> closed; reading --detach()-->
/// draining --the same--> closed. While draining it still empties the pipe, so that the child is neither
/// blocked nor killed by it, but hands nothing on.
///
/// The pipe is widened where the system allows it; what a read takes at most stays the same.
class PipeReader {
  public:
    /// One read's bytes; valid during the call. On the reader's thread, never concurrently.
    using Receiver = std::function<void(std::span<const std::byte>)>;

    /// How many bytes the next read may take; at least 1. On the reader's thread, before each read.
    using Room = std::function<std::size_t()>;

    /// A read takes at most this many bytes.
    static constexpr std::size_t largestRead = 65536;

    /// `readingEnd` must not block; it passes to the reader's thread, and so do the functions, which are
    /// destroyed there. Null when the system has no descriptor to give; errno is set then.
    static std::shared_ptr<PipeReader> prepare(FileDescriptor readingEnd, Receiver receiver, Room room = {});

    /// Starts reading, once: 0, or an errno value when the system has no thread to give.
    int begin();

    /// Detaches. Does not wait.
    ~PipeReader();
    PipeReader(const PipeReader &) = delete;
    PipeReader &operator=(const PipeReader &) = delete;

    /// From now on the receiver is no longer called; only a read that is just being handed on still comes,
    /// also after the return. Any thread.
    void detach();

    /// What the child left in the pipe is handed on before this returns, and then the pipe is closed, whoever
    /// else may still hold it open. Never waits for another process. Any thread but the reader's; only
    /// after a begin() that was successful.
    void childHasEnded();

  private:
    struct Shared;
    explicit PipeReader(std::shared_ptr<Shared> shared);

    std::shared_ptr<Shared> shared;
};

}  // namespace ferrolt
