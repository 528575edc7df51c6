#include "Process.h"

#include "LaunchChild.h"
#include "ThreadName.h"

#include <QtGlobal>

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;  // NOLINT(readability-redundant-declaration): macOS has it in no header

namespace ferrolt {

std::string LaunchError::localizedDescription() const {
    std::string message = std::generic_category().message(code);
    if (workingFolder.empty())
        return message;
    return "The working folder \"" + workingFolder.string() + "\" cannot be entered: " + message;
}

/// Shared by the object and the thread that waits for the child; either may live longer.
struct Process::Shared {
    enum class Stage { Prepared, Running, Ended };

    std::filesystem::path executable;
    std::vector<std::string> arguments;
    std::filesystem::path workingFolder = "/";
    FileDescriptor output;
    End end = End::WithLauncher;
    std::function<int()> startHook;
    std::function<void()> exitHook;

    std::mutex mutex;
    std::condition_variable changed;
    TerminationHandler terminationHandler;
    Stage stage = Stage::Prepared;
    bool reported = false;
    pid_t child = 0;
    Status status = 0;

    void waitForChild();
};

/// SIGCHLD set to SIG_IGN is inherited from the program that starts the launcher. The kernel would then reap
/// the children, and waitid() could not report a status. Restore the default.
static void restoreChildSignal() {
    struct sigaction action {};
    if (sigaction(SIGCHLD, nullptr, &action) == 0 &&
        (action.sa_handler == SIG_IGN || (action.sa_flags & SA_NOCLDWAIT) != 0))
        std::signal(SIGCHLD, SIG_DFL);
}

/// Returns when the child has ended and can be reaped, or if it is no child of ours.
static void waitForEnd(pid_t child) {
    const auto id = static_cast<id_t>(child);
    for (;;) {
        siginfo_t change{};
        if (waitid(P_PID, id, &change, WEXITED | WNOWAIT) != 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (change.si_code == CLD_EXITED || change.si_code == CLD_KILLED || change.si_code == CLD_DUMPED)
            return;
        // macOS (seen in 26.6) also reports a child that is only stopped. Consume that report, or waitid()
        // returns it again at once.
        waitid(P_PID, id, &change, WSTOPPED | WCONTINUED | WNOHANG);
    }
}

/// Runs on a thread of its own, which blocks in the kernel as long as the child lives.
void Process::Shared::waitForChild() {
    nameThisThread("child-wait");
    // Wait without reaping, then reap under the lock. The kernel cannot reuse the id before the reaping, so
    // terminate() never signals another process.
    waitForEnd(child);
    {
        std::lock_guard lock(mutex);
        int ending = 0;
        pid_t reaped = 0;
        do {
            reaped = waitpid(child, &ending, 0);
        } while (reaped < 0 && errno == EINTR);
        stage = Stage::Ended;
        // The exit code or the number of the terminating signal. An unknown status must not look like
        // success.
        if (reaped != child)
            status = 1;
        else
            status = WIFSIGNALED(ending) ? WTERMSIG(ending) : WEXITSTATUS(ending);
    }
    if (auto hook = std::exchange(exitHook, nullptr))
        hook();
    TerminationHandler handler;
    {
        std::lock_guard lock(mutex);
        handler = std::exchange(terminationHandler, nullptr);
    }
    if (handler)
        handler(status);
    std::lock_guard lock(mutex);
    reported = true;
    changed.notify_all();
}

/// A failed chdir() and a failed execve() have the same errno values, and posix_spawn() does not tell them
/// apart.
static bool canBeEntered(const std::filesystem::path &folder) {
    struct stat status {};
    return stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && access(folder.c_str(), X_OK) == 0;
}

Process::Process() : shared(std::make_shared<Shared>()) {}
Process::~Process() = default;

void Process::assertPrepared() const {
    Q_ASSERT(shared->stage == Shared::Stage::Prepared);
}

void Process::setExecutable(std::filesystem::path executable) {
    assertPrepared();
    shared->executable = std::move(executable);
}
void Process::setArguments(std::vector<std::string> arguments) {
    assertPrepared();
    shared->arguments = std::move(arguments);
}
void Process::setWorkingFolder(std::filesystem::path folder) {
    assertPrepared();
    shared->workingFolder = std::move(folder);
}
void Process::setOutput(FileDescriptor writingEnd) {
    assertPrepared();
    shared->output = std::move(writingEnd);
}
void Process::setEnd(End end) {
    assertPrepared();
    shared->end = end;
}
void Process::setStartHook(std::function<int()> hook) {
    assertPrepared();
    shared->startHook = std::move(hook);
}
void Process::setExitHook(std::function<void()> hook) {
    assertPrepared();
    shared->exitHook = std::move(hook);
}

void Process::setTerminationHandler(TerminationHandler handler) {
    std::lock_guard lock(shared->mutex);
    shared->terminationHandler = std::move(handler);
}

void Process::removeTerminationHandler() {
    TerminationHandler removed;  // destroyed after the unlock: its captures' destructors may call this object
    std::lock_guard lock(shared->mutex);
    removed = std::exchange(shared->terminationHandler, nullptr);
}

std::optional<LaunchError> Process::launch() {
    assertPrepared();
    Q_ASSERT(!shared->executable.empty());
    const FileDescriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!nothing.isValid())
        return LaunchError{errno};
    // Above 2, because dup2() in the child overwrites 0 to 2. These may be ordinary files here if the
    // launcher itself was started without them.
    const FileDescriptor input(fcntl(nothing.get(), F_DUPFD_CLOEXEC, 3));
    const int outputSource = shared->output.isValid() ? shared->output.get() : nothing.get();
    const FileDescriptor output(fcntl(outputSource, F_DUPFD_CLOEXEC, 3));
    shared->output.close();
    if (!input.isValid() || !output.isValid())
        return LaunchError{errno};

    restoreChildSignal();
    std::vector<char *> arguments{const_cast<char *>(shared->executable.c_str())};
    for (const std::string &argument : shared->arguments)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);

    const LaunchOutcome outcome = launchChild({.executable = shared->executable.c_str(),
                                               .arguments = arguments.data(),
                                               .environment = environ,
                                               .workingFolder = shared->workingFolder.c_str(),
                                               .standardInput = input.get(),
                                               .standardOutputAndError = output.get(),
                                               .end = shared->end});
    if (outcome.child == 0) {
        if (canBeEntered(shared->workingFolder))
            return LaunchError{outcome.error};
        return LaunchError{outcome.error, shared->workingFolder};
    }
    {
        std::lock_guard lock(shared->mutex);
        shared->child = outcome.child;
        shared->stage = Shared::Stage::Running;
    }
    const auto startHook = std::exchange(shared->startHook, nullptr);
    const int failure = startHook ? startHook() : 0;
    return failure != 0 ? abandonChild(failure) : startWaitThread();
}

std::optional<LaunchError> Process::startWaitThread() {
    try {
        std::thread([shared = shared] { shared->waitForChild(); }).detach();
        return std::nullopt;
    } catch (const std::system_error &failure) {
        return abandonChild(failure.code().value());
    }
}

/// Kills and reaps a child that no thread would wait for or read from.
LaunchError Process::abandonChild(int error) {
    std::lock_guard lock(shared->mutex);
    kill(shared->child, SIGKILL);
    while (waitpid(shared->child, nullptr, 0) < 0 && errno == EINTR) {
    }
    shared->child = 0;
    shared->stage = Shared::Stage::Prepared;
    return {error};
}

bool Process::isRunning() const {
    std::lock_guard lock(shared->mutex);
    return shared->stage == Shared::Stage::Running;
}

int Process::processIdentifier() const {
    std::lock_guard lock(shared->mutex);
    return shared->child;
}

void Process::terminate() {
    std::lock_guard lock(shared->mutex);
    if (shared->stage == Shared::Stage::Running)
        kill(shared->child, SIGTERM);
}

Process::Status Process::waitUntilExit() {
    std::unique_lock lock(shared->mutex);
    shared->changed.wait(lock, [&] { return shared->reported || shared->stage == Shared::Stage::Prepared; });
    return shared->status;
}

}  // namespace ferrolt
