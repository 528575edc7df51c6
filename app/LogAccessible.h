#pragma once

namespace ferrolt {

class LogTextArea;

/// Lets screen readers read a console: its text area is a text that can be read and selected but not changed,
/// named by the console's title; its badge is a text. Tells them what is appended, and where the caret and
/// the selection are. Costs nothing while none is running. Once for each area, which it then lives as long
/// as. Main thread.
void makeAccessible(LogTextArea &area);

}  // namespace ferrolt
