#pragma once

namespace ferrolt {

class LogTextArea;

/// Registers what the parts of a console are for assistive technology: a text area is a text that can be read
/// and selected but not changed, a badge is a text. Must be called before the first of either gets its name;
/// further calls do nothing. Main thread.
void installConsoleRoles();

/// Reports what is appended to and dropped from an area's log, and where its caret and selection are, to
/// assistive technology. To be called once for each area. Costs nothing while no assistive technology runs.
/// Main thread.
void announceChanges(LogTextArea &area);

}  // namespace ferrolt
