#pragma once

#include "FileDescriptor.h"

namespace ferrolt {

/// A pipe from a child to the launcher. Both ends are close-on-exec: a child gets only the copy that Process
/// makes its standard output.
struct Pipe {
    FileDescriptor readingEnd;  ///< non-blocking
    FileDescriptor writingEnd;  ///< blocking, as programs expect of their standard output

    /// On failure both ends are invalid and errno is set.
    static Pipe open();
};

}  // namespace ferrolt
