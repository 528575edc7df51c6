#pragma once

namespace ferrolt {

/// Ends the process at once, without the destructors of static objects: background threads that are still at
/// work may be using these. Everything that must be saved has been saved by then; buffered standard output is
/// still written.
[[noreturn]] void endProcess(int exitCode);

/// Has the process ended like that in a second, unless it has ended by itself before. Main thread, once.
///
/// For the destruction of the application object. Qt's look-ups of host names run in a pool that is waited
/// for there, and one can hang for as long as the name servers do not answer.
void endProcessSoon(int exitCode);

}  // namespace ferrolt
