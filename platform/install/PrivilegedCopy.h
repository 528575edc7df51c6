#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace ferrolt {

/// Copies an application to where only an administrator may write, after the system has asked the user for
/// authorisation.
class PrivilegedCopy {
  public:
    virtual ~PrivilegedCopy() = default;

    /// Replaces `destination` by a copy of the folder `source`, links kept as links. Blocks while the prompt
    /// is up. False when the user refused, the prompt could not be shown or the copy failed. Never the main
    /// thread; an implementation that needs the main thread switches to it.
    virtual bool privilegedCopy(const std::filesystem::path &source,
                                const std::filesystem::path &destination) = 0;

    /// The first required program that is not installed; empty when nothing is missing. Any thread.
    virtual std::string missingProgram() const { return {}; }
};

/// The system's prompt: for an administrator password on macOS, pkexec on Linux.
std::shared_ptr<PrivilegedCopy> systemPrivilegedCopy();

}  // namespace ferrolt
