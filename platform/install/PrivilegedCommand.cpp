#include "PrivilegedCommand.h"

namespace ferrolt {

namespace {

/// One word for the shell. There is no escape between single quotes, so a single quote in the text closes
/// them, follows escaped, and opens them again.
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
