#include "LaunchChild.h"

#include "FileDescriptor.h"

#include <QtGlobal>

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
    // Kernels before 5.9. Our own descriptors are close-on-exec; this closes those that the launcher has
    // inherited.
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const auto end = static_cast<unsigned>(std::min<rlim_t>(limit.rlim_cur, 65536));
    for (unsigned descriptor = first; descriptor <= last && descriptor < end; ++descriptor)
        close(static_cast<int>(descriptor));
}

/// Written by the child, which shares the launcher's memory until execve().
struct SharedWithChild {
    volatile bool isShared =
        false;  ///< stays false if a tool, such as a sanitizer, replaced vfork() by fork()
    volatile int error = 0;
};

/// Runs in the child. Only async-signal-safe calls: the memory is the launcher's, whose calling thread is
/// suspended until execve().
[[noreturn]] void becomeChild(const ChildImage &image, int errorReport, pid_t launcher,
                              SharedWithChild &shared) {
    shared.isShared = true;
    if (image.end == Process::End::WithLauncher) {
        // The kernel sends SIGTERM when the launcher dies, even by kill -9. If the launcher died before this
        // call, the parent id has changed.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != launcher)
            _exit(127);

        // A process group of its own: Ctrl+C in a terminal signals the launcher only, which then stops its
        // children.
        setpgid(0, 0);
    } else {
        setsid();
    }

    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        sigaction(signal, &byDefault, nullptr);

    if (dup2(image.standardInput, 0) >= 0 && dup2(image.standardOutputAndError, 1) >= 0 &&
        dup2(image.standardOutputAndError, 2) >= 0 && chdir(image.workingFolder) == 0) {
        closeRange(3, static_cast<unsigned>(errorReport) - 1);
        closeRange(static_cast<unsigned>(errorReport) + 1, UINT_MAX);
        // Last: a pending signal is delivered here, and must meet the default dispositions.
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

/// Not inlined: the child shares the stack and could overwrite the caller's variables.
[[gnu::noinline]] pid_t startChild(const ChildImage &image, int errorReport, SharedWithChild &shared) {
    const pid_t launcher = getpid();
    // Not fork(): it copies the page tables, which takes the main thread 10 to 20 ms when the logs are full.
    // Not posix_spawn(): it cannot set the parent-death signal. Of the shared memory the child writes only
    // `shared`.
    const pid_t child = vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (child == 0)
        becomeChild(image, errorReport, launcher, shared);  // NOLINT(clang-analyzer-unix.Vfork)
    return child;
}

}  // namespace

LaunchOutcome launchChild(const ChildImage &image) {
    Q_ASSERT(image.standardInput > 2 && image.standardOutputAndError > 2);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {.error = errno};
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(fcntl(ends[1], F_DUPFD_CLOEXEC, 3));  // dup2() in the child overwrites 0 to 2
    close(ends[1]);
    if (!writing.isValid())
        return {.error = errno};

    // No signal handler of the launcher's may run in the child while it shares the memory.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    SharedWithChild shared;
    const pid_t child = startChild(image, writing.get(), shared);
    const int startError = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (child < 0)
        return {.error = startError};

    // After a vfork() execve() has succeeded or failed by now, and shared.error tells which. Waiting for the
    // end of the pipe too would double the time of a launch.
    int error = shared.error;
    if (!shared.isShared) {
        // A successful execve() closes the child's end, so there is nothing to read.
        writing.close();
        ssize_t count = 0;
        do {
            count = read(reading.get(), &error, sizeof error);
        } while (count < 0 && errno == EINTR);
        error = count == 0 ? 0 : error;
    }
    if (error == 0)
        return {.child = child};
    // The launch failed: reap the child, which no other code knows of.
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return {.error = error};
}

}  // namespace ferrolt
