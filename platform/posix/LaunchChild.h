#pragma once

#include <sys/types.h>

namespace ferrolt {

/// What a child begins with, in the form that the system calls take it: nothing may be allocated, locked or
/// looked up between the split from the launcher and the exec.
struct ChildImage {
    const char *executable = nullptr;
    char *const *arguments = nullptr;    ///< null-terminated, the program's name first
    char *const *environment = nullptr;  ///< null-terminated
    const char *workingFolder = nullptr;
    int standardInput = -1;  ///< these two are above 2
    int standardOutputAndError = -1;
};

struct LaunchOutcome {
    pid_t child = 0;  ///< 0 when the launch failed
    int error = 0;    ///< an errno value then
};

/// Starts the child as Process promises it. The calling thread stands still until the child has begun its own
/// program or failed to, and must live as long as the launcher: its end counts as the launcher's death.
LaunchOutcome launchChild(const ChildImage &image);

}  // namespace ferrolt
