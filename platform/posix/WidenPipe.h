#pragma once

namespace ferrolt {

/// Enlarges the buffer of the pipe whose reading or writing end is `descriptor`, so that the child and its
/// reader wake each other once for several blocks. Best effort. Keeps errno.
void widenPipe(int descriptor);

}  // namespace ferrolt
