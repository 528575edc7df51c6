#pragma once

#include <sys/types.h>

namespace ferrolt {

/// Has `child` sent the terminate request when the launcher dies in any way. Main thread. Best effort:
/// without a free process or descriptor the child is simply not watched.
void terminateWithLauncher(pid_t child);

}  // namespace ferrolt
