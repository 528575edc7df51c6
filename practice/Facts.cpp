#include "Misbehaviours.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace ferrolt::practice {

namespace {

std::string openDescriptors() {
    std::set<int> numbers;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        numbers.insert(std::stoi(entry.path().filename()));
    std::string text;
    for (const int number : numbers) {
        if (fcntl(number, F_GETFD) >= 0)  // the iterator's own is closed by now
            text += (text.empty() ? "" : " ") + std::to_string(number);
    }
    return text;
}

}  // namespace

std::string factsAboutThisProcess() {
    std::string facts = "\n";
    const auto add = [&](const std::string &name, const std::string &value) {
        facts += name + '=' + value + '\n';
    };
    add("pid", std::to_string(getpid()));
    add("pgid", std::to_string(getpgrp()));
    add("descriptors", openDescriptors());
    add("stdin", std::filesystem::read_symlink("/proc/self/fd/0"));
    add("cwd", std::filesystem::current_path());
    std::ifstream commandLine("/proc/self/cmdline");
    int count = 0;
    for (std::string argument; std::getline(commandLine, argument, '\0'); ++count)
        add("argv[" + std::to_string(count) + ']', argument);
    add("argc", std::to_string(count));
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("SigBlk") || line.starts_with("SigIgn") || line.starts_with("SigCgt"))
            add(line.substr(0, 6), line.substr(line.find('\t') + 1));
    }
    std::ifstream environment("/proc/self/environ");
    for (std::string variable; std::getline(environment, variable, '\0');)
        facts += "env." + variable + '\n';
    return facts;
}

}  // namespace ferrolt::practice
