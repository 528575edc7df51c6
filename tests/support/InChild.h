#pragma once

#include "OwnStacks.h"

#include <cerrno>
#include <exception>
#include <filesystem>
#include <system_error>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ferrolt {

/// Runs `work` in a forked copy of this process, for conditions that a process cannot take back: a limit,
/// another user. Returns what it returned (0 to 127), or minus the number of the signal that ended it:
/// SIGALRM when it was not done within a minute.
template <class Work>
int inChild(Work work) {
    const pid_t child = ::fork();
    if (child < 0)
        return -1000;
    if (child == 0) {
        ::alarm(60);
        useStacksOfTheirOwn();
        int code = 126;
        try {
            code = work();
        } catch (const std::exception &) {
        }
        ::_exit(code);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

constexpr uid_t nobody = 65534;

/// In a child: becomes a user whom permissions bind, which root is not. Others stay who they are.
inline bool giveUpPrivileges() {
    if (::geteuid() != 0)
        return true;
    return ::setgroups(0, nullptr) == 0 && ::setgid(nobody) == 0 && ::setuid(nobody) == 0;
}

/// Before that: hands a tree to that user, so that it could work there.
inline void handOver(const std::filesystem::path &tree) {
    if (::geteuid() != 0)
        return;
    const auto give = [](const std::filesystem::path &path) {
        if (::lchown(path.c_str(), nobody, nobody) != 0)
            throw std::filesystem::filesystem_error("lchown", path, {errno, std::generic_category()});
    };
    give(tree);
    for (const auto &entry : std::filesystem::recursive_directory_iterator(tree))
        give(entry.path());
}

}  // namespace ferrolt
