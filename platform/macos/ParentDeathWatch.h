#pragma once

#include <sys/types.h>

namespace ferrolt {

/// Sends SIGTERM to `child` when the launcher dies in any way. Main thread. Best effort: without a free
/// process or descriptor the child is not watched.
void terminateWithLauncher(pid_t child);

}  // namespace ferrolt
