#include "PathRoots.h"

#include "RunningProgram.h"

#include <cstdlib>

namespace ferrolt {

namespace {

/// setUpProcess() has set HOME if the session has none.
std::filesystem::path homeFolder() {
    const char *home = std::getenv("HOME");
    return home != nullptr ? home : "/nonexistent";
}

}  // namespace

PathRoots::PathRoots()
    : root("/"),
      home(homeFolder()),
      executableFolder(runningProgram().parent_path()),
      resources(resourceFolder(executableFolder)),
      developmentFolder(FERROLT_DEVELOPMENT_FOLDER),
      nodeServerHost(FERROLT_NODE_SERVER_HOST) {}

}  // namespace ferrolt
