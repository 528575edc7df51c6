#include "LaunchChild.h"

#include "FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ferrolt {

namespace {

void closeRange(unsigned first, unsigned last) {
    if (first > last || syscall(SYS_close_range, first, last, 0U) == 0)
        return;
    // Kernels before 5.9. What we open ourselves is closed on exec anyway; this is for what others left open.
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const auto end = static_cast<unsigned>(std::min<rlim_t>(limit.rlim_cur, 65536));
    for (unsigned descriptor = first; descriptor <= last && descriptor < end; ++descriptor)
        close(static_cast<int>(descriptor));
}

/// What the child leaves in the launcher's memory, which it has until its own program begins.
struct SharedWithChild {
    volatile bool isShared = false;  ///< stays false where a tool has made a fork of the vfork
    volatile int error = 0;
};

/// Only exec-proof calls from here on: the memory still belongs to the launcher, which stands still
/// meanwhile.
[[noreturn]] void becomeChild(const ChildImage &image, int errorReport, pid_t launcher,
                              SharedWithChild &shared) {
    shared.isShared = true;
    // The kernel sends this when the launcher is gone, even after a kill -9. A launcher that died before the
    // request was in place is seen by the parent id.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != launcher)
        _exit(127);

    // A group of its own: Ctrl+C in a terminal asks the launcher to quit, and the launcher asks its children.
    setpgid(0, 0);

    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        sigaction(signal, &byDefault, nullptr);

    if (dup2(image.standardInput, 0) >= 0 && dup2(image.standardOutputAndError, 1) >= 0 &&
        dup2(image.standardOutputAndError, 2) >= 0 && chdir(image.workingFolder) == 0) {
        closeRange(3, static_cast<unsigned>(errorReport) - 1);
        closeRange(static_cast<unsigned>(errorReport) + 1, UINT_MAX);
        // Last before the exec: a signal that was waiting must meet the default dispositions.
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execve(image.executable, image.arguments, image.environment);
    }
    const int error = errno;
    shared.error = error;
    [[maybe_unused]] const ssize_t written = write(errorReport, &error, sizeof error);
    _exit(127);
}

/// A frame of its own, never inlined: a child that shares the stack must not disturb the caller's variables.
[[gnu::noinline]] pid_t split(const ChildImage &image, int errorReport, SharedWithChild &shared) {
    const pid_t launcher = getpid();
    // vfork and not fork: a fork copies the page tables, which takes 10 to 20 ms once the logs are full, on
    // the main thread. And not posix_spawn, which cannot ask for the parent-death signal.
    const pid_t child = vfork();
    if (child == 0)
        becomeChild(image, errorReport, launcher, shared);
    return child;
}

}  // namespace

LaunchOutcome launchChild(const ChildImage &image) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {.error = errno};
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(fcntl(ends[1], F_DUPFD_CLOEXEC, 3));  // clear of the child's 0, 1 and 2
    close(ends[1]);
    if (!writing.isValid())
        return {.error = errno};

    // No handler of ours may run in the child while it shares our memory.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    SharedWithChild shared;
    const pid_t child = split(image, writing.get(), shared);
    const int splitError = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (child < 0)
        return {.error = splitError};

    // The launcher goes on when the child's own program has begun or could not, and knows by then which; to
    // wait for the end of the pipe as well would double the time that a launch takes.
    int error = shared.error;
    if (!shared.isShared) {
        // The exec closes the child's end: nothing to read means that the child's own program has begun.
        writing.close();
        ssize_t count = 0;
        do {
            count = read(reading.get(), &error, sizeof error);
        } while (count < 0 && errno == EINTR);
        error = count == 0 ? 0 : error;
    }
    if (error == 0)
        return {.child = child};
    // The launch failed, and the split-off copy is ours to reap: nobody else knows of it.
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return {.error = error};
}

}  // namespace ferrolt
