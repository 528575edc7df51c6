#include "Pipe.h"

#include <fcntl.h>
#include <unistd.h>

namespace ferrolt {

Pipe Pipe::open() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {};
    Pipe pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    if (fcntl(pipe.readingEnd.get(), F_SETFL, O_NONBLOCK) != 0)
        return {};
    return pipe;
}

}  // namespace ferrolt
