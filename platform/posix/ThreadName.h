#pragma once

namespace ferrolt {

/// Names the calling thread for debuggers and process listings; at most 15 characters show.
void nameThisThread(const char *name);

/// Gives the calling thread the priority of work that a person does not wait for. Best effort.
void lowerThisThread();

}  // namespace ferrolt
