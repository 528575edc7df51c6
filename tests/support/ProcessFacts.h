#pragma once

#include <fstream>
#include <sstream>
#include <string>

#include <dirent.h>
#include <sys/types.h>

namespace ferrolt {

/// How many descriptors this process has open.
inline int openDescriptors() {
    DIR *directory = opendir("/proc/self/fd");
    if (directory == nullptr)
        return -1;
    int count = -1;  // the listing's own
    while (const dirent *entry = readdir(directory))
        count += entry->d_name[0] != '.';
    closedir(directory);
    return count;
}

/// How many threads of this process have a name that begins with `prefix`. By name, because a test runner has
/// threads of its own that come and go.
inline int threadsNamed(const std::string &prefix) {
    DIR *directory = opendir("/proc/self/task");
    if (directory == nullptr)
        return -1;
    int count = 0;
    while (const dirent *entry = readdir(directory)) {
        std::ifstream file(std::string("/proc/self/task/") + entry->d_name + "/comm");
        std::string name;
        count += std::getline(file, name) && name.rfind(prefix, 0) == 0;
    }
    closedir(directory);
    return count;
}

/// The state letter of a process as the kernel tells it ('R', 'S', 'Z', ...); 0 when it is gone.
inline char processState(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::stringstream text;
    text << file.rdbuf();
    const std::string line = text.str();
    const auto name = line.rfind(')');
    return name == std::string::npos || name + 2 >= line.size() ? '\0' : line[name + 2];
}

/// A bit for each signal that the process ignores, the lowest one for signal 1.
inline unsigned long long ignoredSignals(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("SigIgn:", 0) == 0)
            return std::stoull(line.substr(7), nullptr, 16);
    return 0;
}

/// Whether the process is there and no zombie.
inline bool isAlive(pid_t process) {
    const char state = processState(process);
    return state != '\0' && state != 'Z' && state != 'X';
}

}  // namespace ferrolt
