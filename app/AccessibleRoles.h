#pragma once

namespace ferrolt {

/// Tells screen readers what the widgets drawn by ourselves are: a sidebar entry is an item of a list that
/// can be pressed, a status row is text, an announcement a notification. Once is enough; more do no harm.
/// Main thread.
void installAccessibleRoles();

}  // namespace ferrolt
