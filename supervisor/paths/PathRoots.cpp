#include "PathRoots.h"

#include <cstdlib>

#include <pwd.h>
#include <unistd.h>

namespace ferrolt {

namespace {

std::filesystem::path homeFolder() {
    if (const char *home = std::getenv("HOME"); home != nullptr && *home == '/')
        return home;
    // A session without HOME (a bare service manager, a stripped environment) still has a user.
    if (const passwd *user = getpwuid(getuid()); user != nullptr && user->pw_dir != nullptr)
        return user->pw_dir;
    return "/";
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
