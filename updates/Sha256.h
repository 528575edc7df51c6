#pragma once

#include <QString>

#include <filesystem>
#include <optional>

namespace ferrolt {

/// The SHA-256 digest of a file's content as 64 lower-case hexadecimal digits; nothing if the file cannot be
/// opened or read. Reads 1 MiB at a time, however large the file. Any thread but the main one: it takes as
/// long as the disk.
std::optional<QString> sha256OfFile(const std::filesystem::path &path);

}  // namespace ferrolt
