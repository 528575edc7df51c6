#pragma once

namespace ferrolt {

class LogTextArea;

/// Tells screen readers what the parts of a console are: its text area is a text that can be read and
/// selected but not changed, its badge a text. To be called before the first of either gets its name; once is
/// enough, more do no harm. Main thread.
void installConsoleRoles();

/// Tells them what is appended to an area's log, and where its caret and its selection are, for as long as it
/// lives. Costs nothing while none is running. Once for each area. Main thread.
void announceChanges(LogTextArea &area);

}  // namespace ferrolt
