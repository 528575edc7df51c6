#pragma once

#include <string>
#include <string_view>

namespace ferrolt {

/// The shell command that replaces `destination` by `source` on macOS: remove, copy, take the quarantine mark
/// away. The paths go between single quotes as they are and must hold none; both are made by the program.
std::string privilegedShellCommand(std::string_view source, std::string_view destination);

/// `text` as it stands inside an AppleScript string literal: backslashes doubled, then double quotes escaped.
std::string escapedForAppleScript(std::string_view text);

/// The script that runs a shell command behind the system's administrator prompt.
std::string administratorScript(std::string_view shellCommand);

}  // namespace ferrolt
