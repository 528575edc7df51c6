#include "PathRoots.h"

#include <cstdlib>

namespace ferrolt {

namespace {

/// A session without HOME is provided for by setUpProcess().
std::filesystem::path homeFolder() {
    const char *home = std::getenv("HOME");
    return home != nullptr ? home : "/nonexistent";
}

}  // namespace

PathRoots::PathRoots()
    : root("/"),
      home(homeFolder()),
      executableFolder(ferrolt::executableFolder()),
      resources(resourceFolder(executableFolder)),
      developmentFolder(FERROLT_DEVELOPMENT_FOLDER),
      nodeServerHost(FERROLT_NODE_SERVER_HOST) {}

}  // namespace ferrolt
