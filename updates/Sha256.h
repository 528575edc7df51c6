#pragma once

#include <QString>

#include <filesystem>
#include <optional>

namespace ferrolt {

/// The SHA-256 digest of a file's content as 64 lower-case hexadecimal digits; nothing when the file cannot
/// be opened or read. Reads 1 MiB at a time, so memory does not grow with the file. Blocks: never the main
/// thread.
std::optional<QString> sha256OfFile(const std::filesystem::path &path);

}  // namespace ferrolt
