#pragma once

namespace ferrolt {

/// The system gives every thread a stack that is new.
inline void useStacksOfTheirOwn() {}

}  // namespace ferrolt
