#pragma once

#include "ProcessFacts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include <sys/types.h>
#include <unistd.h>

namespace ferrolt {

/// A child of this process that the kernel still knows.
struct OwnChild {
    pid_t id = 0;
    std::string program;  ///< its file name; empty when the child has ended and is not reaped yet
};

/// The children that the main thread has started, as the kernel lists them.
inline std::vector<OwnChild> ownChildren() {
    const std::string self = std::to_string(getpid());
    std::ifstream file("/proc/self/task/" + self + "/children");
    std::vector<OwnChild> children;
    for (pid_t id = 0; file >> id;) {
        std::error_code gone;
        const auto program =
            std::filesystem::read_symlink("/proc/" + std::to_string(id) + "/exe", gone).filename().string();
        children.push_back({id, isAlive(id) ? program : std::string()});
    }
    return children;
}

}  // namespace ferrolt
