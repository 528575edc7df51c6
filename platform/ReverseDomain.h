#pragma once

#include <string_view>

namespace ferrolt {

/// The application's reverse-domain identifier, as it was built: the stem of labels and of the settings'
/// place.
extern const std::string_view reverseDomain;

}  // namespace ferrolt
