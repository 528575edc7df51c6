#include "PrivilegedCommand.h"

namespace ferrolt {

std::string privilegedShellCommand(std::string_view source, std::string_view destination) {
    const std::string s(source);
    const std::string d(destination);
    return "/bin/rm -rf '" + d + "' && /usr/bin/ditto '" + s + "' '" + d +
           "' && /usr/bin/xattr -dr com.apple.quarantine '" + d + "'";
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
