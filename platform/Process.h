#pragma once

#include "FileDescriptor.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ferrolt {

/// Why a child could not be launched.
struct LaunchError {
    int code = 0;  ///< an errno value
    /// Set if the child could not enter its working folder: the program is not to blame then.
    std::filesystem::path workingFolder = {};
    /// The system's message, in the user's language if the system has it, with the folder to blame.
    std::string localizedDescription() const;
};

/// One child program: started once, ended once.
///
/// A child starts with an empty signal mask, default signal dispositions, the launcher's environment,
/// standard input from /dev/null and no descriptors but 0, 1 and 2. When the launcher dies, in any way, the
/// child gets SIGTERM, unless setEnd() says otherwise. Destroying this object neither kills the child nor
/// waits for it: the child is still reaped and the handlers are still called.
///
/// States: prepared --launch()--> running --the child's end--> ended; a failed launch() leaves it prepared.
///
/// Threads: the setters only while prepared, on the thread that owns the object. launch() on a thread that
/// lives as long as the child (on Linux the end of the launching thread counts as the launcher's death). All
/// else on any thread.
class Process {
  public:
    /// The exit code, or the number of the terminating signal.
    using Status = int;
    using TerminationHandler = std::function<void(Status)>;

    Process();
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    void setExecutable(std::filesystem::path executable);
    void setArguments(std::vector<std::string> arguments);
    void setWorkingFolder(std::filesystem::path folder);
    /// The child's standard output and standard error; the default is /dev/null. launch() closes the
    /// launcher's copy.
    void setOutput(FileDescriptor writingEnd);

    /// What the launcher's end means for the child.
    enum class End {
        WithLauncher,  ///< the child gets SIGTERM; it is in a process group of its own
        OfItsOwn,      ///< nothing; it is in a session of its own, out of reach of the launcher's terminal
    };
    /// The default is WithLauncher.
    void setEnd(End end);

    /// Called once, by launch(), after the child has started: the place to start the thread that reads the
    /// child's pipe. Starting that thread before the child can make launch() take ten times as long, because
    /// the scheduler then tends to run the child on the processor of the launching thread. Returns 0 or an
    /// errno value; with an error the child is killed and launch() fails.
    void setStartHook(std::function<int()> hook);

    /// Called once, on a background thread, after the child's end and before the termination handler, also if
    /// that was removed: the place to read what the child left in its pipe.
    void setExitHook(std::function<void()> hook);

    /// Called once, on a background thread, with the child's status. May be set in any state and on any
    /// thread.
    void setTerminationHandler(TerminationHandler handler);
    /// The handler is not called after the return, but a call that has already begun continues.
    void removeTerminationHandler();

    /// Starts the child, once. Takes as long as posix_spawn(), regardless of the launcher's memory.
    std::optional<LaunchError> launch();

    bool isRunning() const;
    /// The child's process id; 0 before launch().
    int processIdentifier() const;
    /// Sends SIGTERM if the child runs. Never signals another process that got the same id later.
    void terminate();
    /// Blocks until the child has ended and its handlers were called. Returns at once if there was no
    /// successful launch().
    Status waitUntilExit();

  private:
    std::optional<LaunchError> startWaitThread();
    LaunchError abandonChild(int error);
    /// The setters' precondition.
    void assertPrepared() const;

    struct Shared;
    std::shared_ptr<Shared> shared;
};

}  // namespace ferrolt
