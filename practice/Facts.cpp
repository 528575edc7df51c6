#include "Misbehaviours.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>
#include <string>

#include <dirent.h>
#include <unistd.h>

extern char **environ;

namespace {

std::string linkTarget(const char *link) {
    char path[4096] = {};
    return readlink(link, path, sizeof path - 1) < 0 ? "(none)" : path;
}

std::string openDescriptors() {
    std::set<int> numbers;
    DIR *folder = opendir("/proc/self/fd");
    if (folder == nullptr)
        return "(unknown)";
    while (const dirent *entry = readdir(folder)) {
        if (entry->d_name[0] != '.' && std::atoi(entry->d_name) != dirfd(folder))
            numbers.insert(std::atoi(entry->d_name));
    }
    closedir(folder);
    std::string text;
    for (const int number : numbers)
        text += (text.empty() ? "" : " ") + std::to_string(number);
    return text;
}

}  // namespace

std::string factsAboutThisProcess(const Words &commandLine) {
    std::string facts = "\n";
    const auto add = [&](const std::string &name, const std::string &value) {
        facts += name + '=' + value + '\n';
    };
    add("pid", std::to_string(getpid()));
    add("pgid", std::to_string(getpgrp()));
    add("descriptors", openDescriptors());
    add("stdin", linkTarget("/proc/self/fd/0"));
    add("cwd", linkTarget("/proc/self/cwd"));
    add("argc", std::to_string(commandLine.size()));
    for (std::size_t i = 0; i < commandLine.size(); ++i)
        add("argv[" + std::to_string(i) + ']', commandLine[i]);
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("SigBlk", 0) == 0 || line.rfind("SigIgn", 0) == 0 || line.rfind("SigCgt", 0) == 0)
            add(line.substr(0, 6), line.substr(line.find('\t') + 1));
    }
    for (char **variable = environ; *variable != nullptr; ++variable)
        facts += std::string("env.") + *variable + '\n';
    return facts;
}
