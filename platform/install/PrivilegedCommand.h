#pragma once

#include <string>
#include <string_view>

namespace ferrolt {

/// The shell command that replaces `destination` by `source` on macOS: remove, copy, take the quarantine mark
/// away. The paths may hold anything: a user's TMPDIR is part of the source.
std::string privilegedShellCommand(std::string_view source, std::string_view destination);

/// `text` as it stands inside an AppleScript string literal: backslashes doubled, then double quotes escaped.
std::string escapedForAppleScript(std::string_view text);

/// The script that runs a shell command behind the system's administrator prompt.
std::string administratorScript(std::string_view shellCommand);

}  // namespace ferrolt
