#include "FileDescriptor.h"

#include <unistd.h>

namespace ferrolt {

// No retry after EINTR: on Linux and macOS close() has then closed the descriptor, and the number may already
// belong to another file.
void FileDescriptor::close() {
    if (descriptor >= 0)
        ::close(std::exchange(descriptor, -1));
}

}  // namespace ferrolt
