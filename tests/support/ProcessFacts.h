#pragma once

#include <fstream>
#include <optional>
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

/// What the kernel tells of a process in /proc/ID/stat.
struct ProcessStat {
    std::string name;
    char state = '\0';  ///< 'R', 'S', 'Z', ...
    pid_t parent = 0;
    unsigned long long startTime = 0;  ///< in clock ticks since the machine's start

    bool isAlive() const { return state != 'Z' && state != 'X'; }
};

/// Nothing when the process is gone, also when it ends between the opening and the reading.
inline std::optional<ProcessStat> processStat(pid_t process) {
    const std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::stringstream text;
    text << file.rdbuf();
    const std::string line = text.str();
    const auto open = line.find('(');
    const auto close = line.rfind(')');  // the name itself may contain blanks and parentheses
    if (open == std::string::npos || close == std::string::npos)
        return std::nullopt;
    ProcessStat stat{.name = line.substr(open + 1, close - open - 1)};
    std::istringstream rest(line.substr(close + 1));
    rest >> stat.state >> stat.parent;
    std::string skipped;
    for (int field = 5; field <= 21; ++field)
        rest >> skipped;
    rest >> stat.startTime;  // field 22
    return stat;
}

/// The state letter of a process; 0 when it is gone.
inline char processState(pid_t process) {
    const auto stat = processStat(process);
    return stat ? stat->state : '\0';
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
    const auto stat = processStat(process);
    return stat && stat->isAlive();
}

}  // namespace ferrolt
