#pragma once

#include <string>

namespace ferrolt {

/// An HFS+ path in normalization form C. HFS+ stores names decomposed (an "é" as an "e" and an accent). A Mac
/// finds a file by either spelling, Linux only by the stored one, and links to it use the composed spelling.
/// The characters that HFS+ never decomposes (TN1150: U+2000 to U+2FFF, U+F900 to U+FAFF, above U+FFFF) stay
/// as they are; so does a path that is not UTF-8.
std::string composedName(const std::string &path);

}  // namespace ferrolt
