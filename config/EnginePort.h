#pragma once

#include <cstdint>

namespace ferrolt {

/// The port on which the engine accepts connections: the first usable `MediaSocketPort` entry of the engine's
/// local.properties, read afresh on every call, or 9877. Always positive, but not always a port: no upper
/// bound is applied. Main thread.
///
/// The engine reads this file by another rule than the client reads its own: the whole key must match, and
/// blanks before it do not matter.
std::int64_t readEnginePort();

}  // namespace ferrolt
