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
/// draining --end of file, or childHasEnded()--> closed. A draining reader still empties the pipe, so that
/// the child is neither blocked nor killed by SIGPIPE, but passes nothing on.
///
/// The pipe is widened where the system allows it; the maximum size of a read stays the same.
class PipeReader {
  public:
    /// Gets the bytes of one read; they are valid during the call. Called on the reader's thread.
    using Receiver = std::function<void(std::span<const std::byte>)>;

    /// In bytes.
    static constexpr std::size_t maxRead = 65536;

    /// `readingEnd` must be non-blocking. The reader's thread owns it and the receiver, and destroys both.
    /// Null if the system has no descriptor to give; errno is set then.
    static std::shared_ptr<PipeReader> prepare(FileDescriptor readingEnd, Receiver receiver);

    /// Starts reading, once: 0, or an errno value if the system has no thread to give.
    int begin();

    /// Detaches. Does not wait.
    ~PipeReader();
    PipeReader(const PipeReader &) = delete;
    PipeReader &operator=(const PipeReader &) = delete;

    /// No read that begins after this call is passed on; one that is under way still is, even after the
    /// return. Any thread.
    void detach();

    /// Passes on what the child left in the pipe, then closes the pipe, even if another process still has it
    /// open, and returns. Never waits for another process. Any thread but the reader's; only after a begin()
    /// that returned 0.
    void childHasEnded();

  private:
    struct Shared;
    explicit PipeReader(std::shared_ptr<Shared> shared);

    std::shared_ptr<Shared> shared;
};

}  // namespace ferrolt
