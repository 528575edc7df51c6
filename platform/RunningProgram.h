#pragma once

#include <filesystem>

namespace ferrolt {

/// The path of the running program's file, links resolved; empty when the system does not report it. Any
/// thread.
std::filesystem::path runningProgram();

}  // namespace ferrolt
