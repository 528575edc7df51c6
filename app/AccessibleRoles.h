#pragma once

namespace ferrolt {

/// Gives screen readers roles that Qt does not know of: a sidebar entry is a list item that can be pressed, a
/// status row is text, an announcement is a notification. May be called repeatedly. Main thread.
void installAccessibleRoles();

}  // namespace ferrolt
