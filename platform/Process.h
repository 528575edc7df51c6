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
    /// The system's own words for it, in the user's language where the system has it.
    std::string localizedDescription() const;
};

/// One child program: started once, ended once.
///
/// A child begins with a fresh signal mask, default signal dispositions, the launcher's environment, standard
/// input from /dev/null and no other descriptor than 0, 1 and 2. When the launcher dies, however, the child
/// gets the terminate request. Destroying this object neither kills the child nor waits for it: it is still
/// reaped, and its end still reported to the handlers.
///
/// States: prepared --launch()--> running --the child's end--> ended; a failed launch() leaves it prepared.
/// The setters belong to the prepared state and to the thread that owns the object; launch() to a thread that
/// lives as long as the child may (the kernel ties the request at the launcher's death to the launching
/// thread). The rest may be called from any thread.
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
    /// One descriptor for the child's standard output and error; the launcher's copy is closed once the child
    /// was launched. Without it both go to /dev/null.
    void setOutput(FileDescriptor writingEnd);

    /// Called once, by launch(), when the child has just been started: the place to begin to read its pipe.
    /// To start a thread before the child can make launch() ten times as long: the system then likes to run
    /// the child where the launching thread waits for it. Gives back 0, or an errno value: then the child is
    /// ended at once, and launch() fails.
    void setStartHook(std::function<int()> hook);

    /// Called once, on a thread of the platform's, after the child's end and before the termination handler,
    /// whether or not that was removed: the place to take what the child left in its pipe.
    void setExitHook(std::function<void()> hook);

    /// Called once, on a thread of the platform's, with the child's status.
    void setTerminationHandler(TerminationHandler handler);
    /// After the return the handler is not called any more; one that is already being called runs on.
    void removeTerminationHandler();

    /// Starts the child. Takes no longer than the system's own spawn, however much memory the launcher holds.
    std::optional<LaunchError> launch();

    bool isRunning() const;
    /// The child's process id once it was launched; 0 before.
    int processIdentifier() const;
    /// Sends the terminate request (SIGTERM) if the child runs. Never a signal to a process that took over
    /// the id.
    void terminate();
    /// Blocks until the child has ended and its handlers have been called; at once when it never was
    /// launched.
    Status waitUntilExit();

  private:
    std::optional<LaunchError> beginToWait();
    LaunchError giveUp(int error);

    struct Shared;
    std::shared_ptr<Shared> shared;
};

}  // namespace ferrolt
