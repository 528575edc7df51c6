#pragma once

#include <QString>

namespace ferrolt {

/// Where this user's desktop keeps what a program remembers of its windows; apart from settings, and no loss
/// when it goes. Not created by this.
QString stateFolder();

}  // namespace ferrolt
