#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace ferrolt {

/// Puts an application where only an administrator may write, after the system has asked the user for
/// permission.
class PrivilegedCopy {
  public:
    virtual ~PrivilegedCopy() = default;

    /// Replaces `destination` by a copy of the folder `source`, links kept. Blocks while the system's prompt
    /// is up. A prompt that was refused, one that could not be shown and a copy that failed are all false.
    /// Any thread; an implementation that needs the main one goes there itself.
    virtual bool privilegedCopy(const std::filesystem::path &source,
                                const std::filesystem::path &destination) = 0;

    /// The name of a program that the copy would need and that is not installed; empty if there is none. Any
    /// thread.
    virtual std::string missingProgram() const { return {}; }
};

/// The system's own prompt: an administrator password on macOS, polkit's pkexec on Linux.
std::shared_ptr<PrivilegedCopy> systemPrivilegedCopy();

}  // namespace ferrolt
