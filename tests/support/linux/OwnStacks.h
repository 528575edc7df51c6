#pragma once

#include <cstddef>

#include <pthread.h>

namespace ferrolt {

/// For a forked copy of a process: its threads get no stack that a thread of the original had, which the
/// thread sanitizer still takes for alive.
inline void useStacksOfTheirOwn() {
    pthread_attr_t attributes;
    pthread_getattr_default_np(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t(32)
                                               << 20);  // larger than any that is there to be used
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

}  // namespace ferrolt
