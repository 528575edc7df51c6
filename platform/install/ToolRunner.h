#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ferrolt {

/// Runs the command line tools that an installation needs.
class ToolRunner {
  public:
    /// How much of its work a tool has done, in bytes. On the thread that runs the tool, as often as it
    /// likes.
    using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

    virtual ~ToolRunner() = default;

    /// Runs the tool and waits for its end, its output not captured. True only if it could be started and its
    /// exit status was 0. `progress` is for tools that can tell; most never call it. Not on the main thread.
    virtual bool runTool(const std::filesystem::path &executable, const std::vector<std::string> &arguments,
                         const Progress &progress = {}) = 0;

    /// The name of a program that the tools would need and that is not installed; empty if there is none. Any
    /// thread.
    virtual std::string missingProgram() const { return {}; }
};

/// Tools as child processes. Where the disk image tool "/usr/bin/hdiutil" does not exist, its two command
/// lines that an installation uses have a counterpart that leaves the same behind: on Linux attaching unpacks
/// the volume into the mount point and detaching empties it again.
std::shared_ptr<ToolRunner> systemToolRunner();

}  // namespace ferrolt
