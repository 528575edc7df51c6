#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ferrolt::bench {

using Words = std::vector<std::string>;

/// The practice child with that misbehaviour.
Words practiceChild(const Words &behaviour);

/// Starts a program, found as a shell would find it, with this as its standard output. Ends with this
/// program.
pid_t spawn(const Words &commandLine, int standardInput = -1, int standardOutput = -1);

/// A child that writes to `cat >/dev/null` over a plain pipe, as long as this stands.
class CatReading {
  public:
    explicit CatReading(const Words &behaviour);
    ~CatReading();
    CatReading(const CatReading &) = delete;
    CatReading &operator=(const CatReading &) = delete;

    pid_t child = -1;

  private:
    pid_t cat = -1;
};

/// Bytes a second that a flooding child writes to `cat >/dev/null` over a plain pipe.
double throughputIntoCat(std::chrono::milliseconds length, const Words &behaviour = {"flood"});

/// The same for a child in a terminal; none where the terminal is not installed.
std::optional<double> throughputInTerminal(const std::string &terminal, std::chrono::milliseconds length);

/// What a QPlainTextEdit that is fed by queued calls makes of a child's output.
struct QueuedTextEdit {
    double bytesShownPerSecond = 0;
    double processorShare = 0;  ///< of one core
    double paintsPerSecond = 0;
    double worstStall = 0;  ///< milliseconds
    double megabytes = 0;   ///< resident at the end
};
QueuedTextEdit queuedTextEdit(const Words &behaviour, std::chrono::milliseconds length);

}  // namespace ferrolt::bench
