#pragma once

#include <map>

#include <sys/types.h>

namespace ferrolt::bench {

using ThreadSwitches = std::map<pid_t, long>;

/// The context switches of a process between two looks at its threads, never less than 0: all switches of a
/// thread that has begun meanwhile count, and at least one of a thread that has ended.
long switchesBetween(const ThreadSwitches &before, const ThreadSwitches &after);

}  // namespace ferrolt::bench
