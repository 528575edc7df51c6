#pragma once

#include "ProcessFacts.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/types.h>
#include <unistd.h>

namespace ferrolt {

/// A child of this process that the kernel still knows.
struct OwnChild {
    pid_t id = 0;
    std::string program;  ///< its file name; empty when the child has ended and is not reaped yet
};

/// The ids of the children that the main thread has started, in one reading of the kernel's list. The kernel
/// looks each one up anew by its place in the list: when one that it has just told of is reaped, the others
/// move up and the next one is left out, though it lives.
inline std::vector<pid_t> childrenInOneReading() {
    const std::string self = std::to_string(getpid());
    std::ifstream file("/proc/self/task/" + self + "/children");
    std::vector<pid_t> ids;
    for (pid_t id = 0; file >> id;)
        ids.push_back(id);
    return ids;
}

/// The children that the main thread has started, all of them. Main thread: nobody adds one meanwhile.
inline std::vector<OwnChild> ownChildren() {
    // A reading that leaves one out has told of one that is reaped since, which the next reading cannot do.
    std::vector<pid_t> ids = childrenInOneReading();
    for (std::vector<pid_t> before; ids != before;) {
        before = std::move(ids);
        ids = childrenInOneReading();
    }
    std::vector<OwnChild> children;
    for (const pid_t id : ids) {
        std::error_code gone;
        const auto program =
            std::filesystem::read_symlink("/proc/" + std::to_string(id) + "/exe", gone).filename().string();
        children.push_back({id, isAlive(id) ? program : std::string()});
    }
    return children;
}

}  // namespace ferrolt
