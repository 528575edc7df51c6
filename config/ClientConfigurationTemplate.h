#pragma once

#include <string>
#include <string_view>

namespace ferrolt {

/// The client configuration that a first save starts from: 38 lines of UTF-8 joined by line feeds, none after
/// the last. Both of its hosts are `nodeServerHost`; the identity is empty.
std::string clientConfigurationTemplate(std::string_view nodeServerHost);

}  // namespace ferrolt
