#pragma once

#include <string>
#include <string_view>

namespace ferrolt {

/// The initial client configuration: 38 lines of UTF-8 joined by line feeds, without one after the last line.
/// Both hosts are `nodeServerHost`; the identity is empty.
std::string clientConfigurationTemplate(std::string_view nodeServerHost);

}  // namespace ferrolt
