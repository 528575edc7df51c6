#include "Descendants.h"

#include "ProcessFacts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ferrolt {

namespace {

struct Entry {
    pid_t id = 0;
    bool isZombie = false;
};

/// All processes by their parent's id.
std::multimap<pid_t, Entry> processes() {
    std::multimap<pid_t, Entry> found;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry("/proc", failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string id = entry->path().filename();
        if (id.find_first_not_of("0123456789") != std::string::npos)
            continue;
        const auto process = static_cast<pid_t>(std::stol(id));
        if (const auto stat = processStat(process))
            found.emplace(stat->parent, Entry{process, !stat->isAlive()});
    }
    return found;
}

std::string commandOf(pid_t process) {
    // Empty also when the process ends between the opening and the reading.
    const std::ifstream file("/proc/" + std::to_string(process) + "/cmdline");
    std::ostringstream text;
    text << file.rdbuf();
    std::string command = text.str();
    std::replace(command.begin(), command.end(), '\0', ' ');
    return command;
}

void addLiving(const std::multimap<pid_t, Entry> &all, const Entry &entry, bool isOfInstall,
               std::vector<Descendant> &found) {
    const std::string command = commandOf(entry.id);
    isOfInstall = isOfInstall || command.find("install-libreoffice") != std::string::npos;
    if (!entry.isZombie)
        found.push_back({entry.id, command, isOfInstall});
    const auto [begin, end] = all.equal_range(entry.id);
    for (auto child = begin; child != end; ++child)
        addLiving(all, child->second, isOfInstall, found);
}

}  // namespace

Descendants::Descendants() {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const auto all = processes();
    const auto [begin, end] = all.equal_range(getpid());
    for (auto child = begin; child != end; ++child)
        services.insert(child->second.id);
}

std::vector<Descendant> Descendants::living(pid_t program) const {
    std::vector<Descendant> found;
    const auto all = processes();
    const auto [begin, end] = all.equal_range(getpid());
    for (auto child = begin; child != end; ++child) {
        const Entry &entry = child->second;
        if (entry.id == program || services.contains(entry.id))
            continue;
        if (entry.isZombie)
            waitpid(entry.id, nullptr, WNOHANG);
        addLiving(all, entry, false, found);
    }
    return found;
}

}  // namespace ferrolt
