#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ferrolt {

/// Runs a program to its end, its output discarded, and blocks until then: any thread but the main one. True
/// only if it could be started and exited with status 0.
bool runProcess(const std::filesystem::path &executable, const std::vector<std::string> &arguments);

}  // namespace ferrolt
