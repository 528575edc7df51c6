#pragma once

#include <string>
#include <string_view>

namespace ferrolt {

/// The shell command that replaces `destination` by `source` on macOS: remove, copy, remove the quarantine
/// attribute. Paths are quoted: `source` lies below the user's TMPDIR, which may hold any character.
std::string privilegedShellCommand(std::string_view source, std::string_view destination);

/// `text` for an AppleScript string literal: a backslash before every backslash and double quote.
std::string escapedForAppleScript(std::string_view text);

/// The AppleScript that runs a shell command after the system's administrator prompt.
std::string administratorScript(std::string_view shellCommand);

}  // namespace ferrolt
