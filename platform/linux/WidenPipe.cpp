#include "WidenPipe.h"

#include <cerrno>

#include <fcntl.h>

namespace ferrolt {

namespace {

/// Four reads. More gains nothing, and the kernel limits the total for all pipes of a user.
constexpr int wideCapacity = 256 * 1024;  // bytes

}  // namespace

void widenPipe(int descriptor) {
    const int before = errno;
    if (fcntl(descriptor, F_GETPIPE_SZ) < wideCapacity)
        fcntl(descriptor, F_SETPIPE_SZ, wideCapacity);
    errno = before;
}

}  // namespace ferrolt
