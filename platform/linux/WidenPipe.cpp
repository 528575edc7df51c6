#include "WidenPipe.h"

#include <cerrno>

#include <fcntl.h>

namespace ferrolt {

namespace {

/// Four reads. More gains nothing, and a user's pipes may hold only so much together before the system
/// refuses.
constexpr int widePipe = 256 * 1024;

}  // namespace

void widenPipe(int end) {
    const int before = errno;
    if (fcntl(end, F_GETPIPE_SZ) < widePipe)
        fcntl(end, F_SETPIPE_SZ, widePipe);
    errno = before;
}

}  // namespace ferrolt
