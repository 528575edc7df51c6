#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ferrolt {

/// Runs the command-line tools of an installation.
class ToolRunner {
  public:
    /// The work done so far and in all, in bytes. Called on the thread of runTool(), without a throttle.
    using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

    virtual ~ToolRunner() = default;

    /// Runs the tool, its output discarded, and blocks until it has ended. True only if it could be started
    /// and its exit status was 0. Most tools cannot report their progress. Never the main thread.
    virtual bool runTool(const std::filesystem::path &executable, const std::vector<std::string> &arguments,
                         const Progress &progress = {}) = 0;

    /// The first required program that is not installed; empty when nothing is missing. Any thread.
    virtual std::string missingProgram() const { return {}; }
};

/// Runs tools as child processes. Linux has no "/usr/bin/hdiutil": there its two command lines of an
/// installation are emulated. Attaching unpacks the volume into the mount point, detaching empties it.
std::shared_ptr<ToolRunner> systemToolRunner();

}  // namespace ferrolt
