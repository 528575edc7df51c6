#include "PrivilegedCommand.h"

namespace ferrolt {

namespace {

/// One word of the shell's, whatever is in it. Nothing can be escaped between single quotes, so a single
/// quote ends them, stands escaped by itself, and begins them anew.
std::string quotedForShell(std::string_view text) {
    std::string quoted = "'";
    for (const char character : text) {
        if (character == '\'')
            quoted += "'\\''";
        else
            quoted += character;
    }
    return quoted + "'";
}

}  // namespace

std::string privilegedShellCommand(std::string_view source, std::string_view destination) {
    const std::string s = quotedForShell(source);
    const std::string d = quotedForShell(destination);
    return "/bin/rm -rf " + d + " && /usr/bin/ditto " + s + " " + d +
           " && /usr/bin/xattr -dr com.apple.quarantine " + d;
}

std::string escapedForAppleScript(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char character : text) {
        if (character == '\\' || character == '"')
            escaped += '\\';
        escaped += character;
    }
    return escaped;
}

std::string administratorScript(std::string_view shellCommand) {
    return "do shell script \"" + escapedForAppleScript(shellCommand) + "\" with administrator privileges";
}

}  // namespace ferrolt
