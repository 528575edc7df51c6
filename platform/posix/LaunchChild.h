#pragma once

#include "Process.h"

#include <sys/types.h>

namespace ferrolt {

/// What a child starts with, in the form that the system calls take: between vfork() and execve() nothing may
/// be allocated, locked or looked up.
struct ChildImage {
    const char *executable = nullptr;
    char *const *arguments = nullptr;    ///< null-terminated, the program's name first
    char *const *environment = nullptr;  ///< null-terminated
    const char *workingFolder = nullptr;
    int standardInput = -1;  ///< must be above 2, like the next
    int standardOutputAndError = -1;
    Process::End end = Process::End::WithLauncher;
};

struct LaunchOutcome {
    pid_t child = 0;  ///< 0 when the launch failed
    int error = 0;    ///< an errno value then
};

/// Starts the child as Process documents it. Blocks until execve() has succeeded or failed in the child. On
/// Linux the end of the calling thread counts as the launcher's death.
LaunchOutcome launchChild(const ChildImage &image);

}  // namespace ferrolt
