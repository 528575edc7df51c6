#pragma once

#include "FileDescriptor.h"

namespace ferrolt {

/// A pipe between a child, which writes, and the launcher, which reads. Both ends are closed on exec, so only
/// what Process puts in place of standard output reaches a child.
struct Pipe {
    FileDescriptor readingEnd;  ///< never blocks
    FileDescriptor writingEnd;  ///< blocks, as any program expects of its standard output

    /// Opens both ends; errno is set and both are invalid when the system has none to give.
    static Pipe open();
};

}  // namespace ferrolt
