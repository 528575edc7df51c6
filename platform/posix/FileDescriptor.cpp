#include "FileDescriptor.h"

#include <unistd.h>

namespace ferrolt {

// A close that is interrupted has still closed the descriptor on Linux and macOS; a retry could close
// another's.
void FileDescriptor::close() {
    if (descriptor >= 0)
        ::close(std::exchange(descriptor, -1));
}

}  // namespace ferrolt
