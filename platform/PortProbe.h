#pragma once

#include <cstdint>
#include <string>

namespace ferrolt {

/// One TCP connection attempt to `host`, a dotted IPv4 address, at `port`: true exactly when somebody accepts
/// it. Nothing is sent. Blocks as long as the system's connect does; any thread but the main one. A port that
/// is no port number, above 65535 say, is not reachable: it is never cut down to one that is.
bool probePort(const std::string &host, std::int64_t port);

}  // namespace ferrolt
