#pragma once

#include "Process.h"

#include <filesystem>
#include <optional>

#include <sys/types.h>

namespace ferrolt {

/// The file that this process was started from. An upgrade puts another file in its place, while the process
/// runs on with the old one. Any thread.
class ProgramFile {
  public:
    /// To be made when the process starts: its path cannot be told once the file has been replaced.
    ProgramFile();

    /// Whether another program is in its place now. False if the file is gone, or if that in its place cannot
    /// be executed, as in the middle of a copy.
    bool isReplaced() const;

    /// Starts the program that is in its place now, to take over when this process ends, and at once a second
    /// time, as a reopen: with a complete identity a start shows no window, but the user has asked for the
    /// new version. To be called shortly before the end. What is started outlives this process, in a session
    /// of its own, with its standard descriptors at /dev/null.
    std::optional<LaunchError> startReplacement() const;

  private:
    std::filesystem::path path;
    dev_t device = 0;
    ino_t inode = 0;
};

}  // namespace ferrolt
