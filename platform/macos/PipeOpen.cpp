#include "Pipe.h"

#include <fcntl.h>
#include <unistd.h>

namespace ferrolt {

// macOS has no pipe2(): a child that another thread launches between pipe() and fcntl() inherits both ends.
// That does no harm, because Process closes all other descriptors in a child.
Pipe Pipe::open() {
    int ends[2];
    if (pipe(ends) != 0)
        return {};
    Pipe pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    if (fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0)
        return {};
    return pipe;
}

}  // namespace ferrolt
