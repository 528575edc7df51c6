#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

#include "FileDescriptor.h"

namespace ferrolt {

/// Reads a pipe on a thread of its own, one read at a time, as fast as the other side writes.
///
/// States: reading --end of file, or childHasEnded()--> closed; reading --detach()--> draining --the same--> closed.
/// While draining it still empties the pipe, so that the child is neither blocked nor killed by it, but hands
/// nothing on.
class PipeReader {
  public:
    /// One read's bytes; valid during the call. On the reader's thread, never concurrently.
    using Receiver = std::function<void(std::span<const std::byte>)>;

    /// A read takes at most this many bytes.
    static constexpr std::size_t largestRead = 65536;

    /// Starts reading. `readingEnd` must not block. Ownership of it passes to the reader's thread.
    PipeReader(FileDescriptor readingEnd, Receiver receiver);
    /// Detaches. Does not wait.
    ~PipeReader();
    PipeReader(const PipeReader &) = delete;
    PipeReader &operator=(const PipeReader &) = delete;

    /// After the return, a call of the receiver that had not begun does not come any more. Any thread.
    void detach();

    /// What the child left in the pipe is handed on before this returns, and then the pipe is closed, whoever else
    /// may still hold it open. Never waits for another process. Any thread but the reader's.
    void childHasEnded();

  private:
    struct Shared;
    std::shared_ptr<Shared> shared;
};

}  // namespace ferrolt
