#pragma once

namespace ferrolt {

/// Ends the process at once, with status 1, when the desktop's display goes away. Main thread, before the
/// application object is created; once.
///
/// Qt would call exit(), which destroys static objects that background threads still use, and waits for a
/// host name lookup for as long as the name servers do not answer. Meanwhile both children would run on
/// without their supervisor.
void endWithTheDisplay();

}  // namespace ferrolt
