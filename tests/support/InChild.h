#pragma once

#include "OwnStacks.h"
#include "Rights.h"

#include <cerrno>
#include <exception>

#include <sys/wait.h>
#include <unistd.h>

namespace ferrolt {

/// Runs `work` in a forked copy of this process, for conditions that a process cannot take back: a limit,
/// rights that were given up. Returns what it returned (0 to 127), or minus the number of the signal that
/// ended it: SIGALRM when it was not done within a minute. What another thread of this process has locked
/// stays locked in the copy: call it while no other thread is at work.
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

}  // namespace ferrolt
