#pragma once

#include <chrono>

namespace ferrolt::practice {

/// The request to end (SIGTERM, SIGINT or SIGHUP) as something that a loop can poll for. One for each
/// program, made at its start.
///
/// States: open --one of the signals--> come; never left.
class EndRequest {
  public:
    EndRequest();
    ~EndRequest();
    EndRequest(const EndRequest &) = delete;
    EndRequest &operator=(const EndRequest &) = delete;

    /// Readable from the moment that the request has come.
    int descriptor() const { return readingEnd; }
    bool hasCome() const;

    /// Waits for the request, no longer than `time`; true if it has come.
    bool waitFor(std::chrono::milliseconds time) const;

    /// Ends the program by the signal that asked for it, so that whoever started it sees a terminated child
    /// and not one that chose to leave.
    [[noreturn]] void end() const;

  private:
    int readingEnd = -1;
};

}  // namespace ferrolt::practice
