#include "ParentDeathWatch.h"

#include <cerrno>
#include <csignal>

#include <sys/event.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ferrolt {

namespace {

// macOS has no parent-death signal. A small watcher process waits in a kqueue for the launcher's end, which
// is reported even after kill -9, and then sends SIGTERM to the children whose ids it has read from a pipe.
constexpr int maxChildren = 64;

/// False if the process has already ended.
bool watch(int queue, pid_t process) {
    struct kevent change;
    EV_SET(&change, process, EVFILT_PROC, EV_ADD | EV_ONESHOT, NOTE_EXIT, 0, nullptr);
    return kevent(queue, &change, 1, nullptr, 0, nullptr) == 0;
}

[[noreturn]] void runWatcher(pid_t launcher, int announcements) {
    setsid();
    const int queue = kqueue();
    struct kevent change;
    EV_SET(&change, announcements, EVFILT_READ, EV_ADD, 0, 0, nullptr);
    kevent(queue, &change, 1, nullptr, 0, nullptr);
    bool launcherIsGone = !watch(queue, launcher);
    pid_t children[maxChildren] = {};
    for (;;) {
        struct kevent event;
        if (kevent(queue, nullptr, 0, &event, 1, nullptr) != 1) {
            if (errno == EINTR)
                continue;
            _exit(1);
        }
        pid_t announced = 0;
        if (event.filter == EVFILT_READ &&
            read(announcements, &announced, sizeof announced) == sizeof announced) {
            for (pid_t &slot : children) {
                if (slot == 0) {
                    // Not a child that has already ended: its id may soon belong to another process.
                    slot = launcherIsGone || watch(queue, announced) ? announced : 0;
                    break;
                }
            }
            continue;
        }
        launcherIsGone = event.filter == EVFILT_READ || static_cast<pid_t>(event.ident) == launcher;
        for (pid_t &slot : children) {
            if (launcherIsGone && slot != 0)
                kill(slot, SIGTERM);
            else if (slot == static_cast<pid_t>(event.ident))
                slot = 0;  // ended by itself: its id may soon belong to another process
        }
        if (launcherIsGone)
            _exit(0);
    }
}

/// Starts the watcher and returns the descriptor that children's ids are written to; -1 on failure. Forks
/// twice, so that the launcher need not reap the watcher.
int startWatcher() {
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    const pid_t launcher = getpid();
    const pid_t between = fork();
    if (between == 0) {
        for (int descriptor = 0; descriptor < getdtablesize(); ++descriptor) {
            if (descriptor != ends[0])
                close(descriptor);
        }
        if (fork() == 0)
            runWatcher(launcher, ends[0]);
        _exit(0);
    }
    close(ends[0]);
    if (between < 0) {
        close(ends[1]);
        return -1;
    }
    while (waitpid(between, nullptr, 0) < 0 && errno == EINTR) {
    }
    return ends[1];
}

}  // namespace

void terminateWithLauncher(pid_t child) {
    // Once, at the first child, while the launcher's memory is still small to copy.
    static const int announcements = startWatcher();
    if (announcements >= 0) {
        [[maybe_unused]] const ssize_t written = write(announcements, &child, sizeof child);
    }
}

}  // namespace ferrolt
