#pragma once

namespace ferrolt {

/// Ends the process at once, after flushing standard output. Does not run the destructors of static objects,
/// because background threads may still use these. All that must be saved must be on disk before the call.
[[noreturn]] void endProcess(int exitCode);

/// Ends the process in one second, unless it ends before. Main thread, once.
///
/// To be called before the application object is destroyed: its destructor waits for Qt's host name lookups,
/// and one blocks as long as the name servers do not answer.
void endProcessSoon(int exitCode);

}  // namespace ferrolt
