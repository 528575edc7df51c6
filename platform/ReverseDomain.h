#pragma once

#include <string_view>

namespace ferrolt {

/// The application's reverse-domain identifier (FERROLT_REVERSE_DOMAIN). Labels and the name of the settings
/// file begin with it.
extern const std::string_view reverseDomain;

}  // namespace ferrolt
