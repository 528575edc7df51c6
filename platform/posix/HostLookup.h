#pragma once

#include <string>

namespace ferrolt {

/// Whether the system knows an address for `host`, a name in its ASCII form or an address. Blocks for as long
/// as the system's resolver pleases, which is half a minute when no name server answers. Any thread.
bool isKnownHost(const std::string &host);

}  // namespace ferrolt
