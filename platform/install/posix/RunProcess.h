#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ferrolt {

/// Runs a program, its output discarded, and blocks until it has ended. True only if it could be started and
/// exited with status 0. Never the main thread.
bool runProcess(const std::filesystem::path &executable, const std::vector<std::string> &arguments);

}  // namespace ferrolt
