#pragma once

#include <string>

namespace ferrolt {

/// A path from an HFS+ volume, which stores names decomposed (an "é" as an "e" and an accent), as everyone
/// else writes it: composed. A Mac finds a file by either spelling, Linux only by the one that it has, and
/// the links and documents that speak of the file have the composed one. What HFS+ does not decompose
/// (TN1150: U+2000 to U+2FFF, U+F900 to U+FAFF and what lies beyond U+FFFF) stays as it is, as does text that
/// is not UTF-8.
std::string composedName(const std::string &path);

}  // namespace ferrolt
