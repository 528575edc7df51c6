#pragma once

#include "Pipe.h"
#include "Process.h"

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ferrolt {

/// What a tool writes, read as it comes. The tool can never get further ahead than the pipe holds, so a
/// reader that stops bounds what the tool can do. Destroying it ends the tool.
///
/// Standard output and error come as one: the tool has to be told to keep quiet on the other.
///
/// Belongs to one thread, which is not the main one: reading, asking for the status and destroying it block.
class ToolOutput {
  public:
    ToolOutput(const std::filesystem::path &executable, const std::vector<std::string> &arguments);
    ~ToolOutput();
    ToolOutput(const ToolOutput &) = delete;
    ToolOutput &operator=(const ToolOutput &) = delete;

    bool isLaunched() const { return launched; }

    /// Waits for output; the number of bytes that were read, 0 at its end, -1 on an error.
    ssize_t read(std::span<char> buffer);

    /// The exit status; to be asked for at the output's end, for it waits until the tool has ended.
    Process::Status status() { return process.waitUntilExit(); }

  private:
    Process process;
    Pipe pipe;
    bool launched = false;
};

}  // namespace ferrolt
