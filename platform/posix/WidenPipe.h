#pragma once

namespace ferrolt {

/// Lets the pipe of this descriptor, either end, hold more than it does by itself, where the system can: a
/// child and its reader then wake each other once for several blocks. Best effort; a refusal leaves the pipe
/// as it is.
void widenPipe(int end);

}  // namespace ferrolt
