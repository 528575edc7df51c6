#pragma once

#include <cstdint>

namespace ferrolt {

/// The port on which the engine accepts connections: the first usable `MediaSocketPort` entry of the engine's
/// local.properties, or 9877. Reads the file on every call. The number is positive but may be above 65535.
/// Main thread.
///
/// The rule for a key differs from LoadProps: the engine compares the whole key and ignores blanks around it.
std::int64_t readEnginePort();

}  // namespace ferrolt
