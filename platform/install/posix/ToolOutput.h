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

/// A running tool whose output is read while it runs. The tool blocks once the pipe is full, so a reader that
/// stops reading also stops the tool's work. The destructor terminates the tool and waits for its end.
///
/// Standard output and standard error arrive mixed: the tool must be told to keep one of them empty.
///
/// For one thread, never the main one: read(), status() and the destructor block.
class ToolOutput {
  public:
    ToolOutput(const std::filesystem::path &executable, const std::vector<std::string> &arguments);
    ~ToolOutput();
    ToolOutput(const ToolOutput &) = delete;
    ToolOutput &operator=(const ToolOutput &) = delete;

    bool isLaunched() const { return launched; }

    /// Blocks until there is output. The number of bytes read, 0 at the end, -1 on an error. Only when
    /// isLaunched().
    ssize_t read(std::span<char> buffer);

    /// Blocks until the tool has ended; before the end of its output it may be waiting to write.
    Process::Status status() { return process.waitUntilExit(); }

  private:
    Process process;
    Pipe pipe;
    bool launched = false;
};

}  // namespace ferrolt
