#pragma once

#include <cstdint>
#include <string>

namespace ferrolt {

/// Attempts one TCP connection to `host`, a dotted IPv4 address, at `port`. True if a program accepts it.
/// Sends nothing. Blocks as long as connect() does; not on the main thread. False for a number that is no
/// port, such as one above 65535; it is not truncated to 16 bits.
bool probePort(const std::string &host, std::int64_t port);

}  // namespace ferrolt
