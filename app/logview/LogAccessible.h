#pragma once

namespace ferrolt {

/// Registers what the parts of a console are for assistive technology: a text area is a text that can be read
/// and selected but not changed, a badge is a text. Must be called before the first of either gets its name;
/// further calls do nothing. Main thread.
void installConsoleRoles();

}  // namespace ferrolt
