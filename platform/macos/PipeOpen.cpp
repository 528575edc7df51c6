#include "Pipe.h"

#include <fcntl.h>
#include <unistd.h>

namespace ferrolt {

// There is no pipe2 here: between pipe() and fcntl() another thread's launch could inherit the ends. Process
// closes every other descriptor in the child, so nothing of it survives the exec.
Pipe Pipe::open() {
    int ends[2];
    if (pipe(ends) != 0)
        return {};
    Pipe pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return pipe;
}

}  // namespace ferrolt
