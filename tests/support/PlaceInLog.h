#pragma once

#include "LogPosition.h"

#include <cstdint>

namespace ferrolt {

inline LogPosition at(std::uint64_t sequence, std::uint32_t offset) {
    return {sequence, ByteOffset{offset}};
}

}  // namespace ferrolt
