#pragma once

#include <optional>
#include <string_view>

namespace ferrolt {

/// `text` without the spaces and tabs at both ends. Nothing else counts as a blank here, not even a no-break
/// space.
std::string_view trimmedOfBlanks(std::string_view text);

/// One "key = value" line of a properties file, split and nothing more: whose entry it is, the readers
/// decide, each by its own rule.
struct PropertiesEntry {
    std::string_view key;    ///< all that stands before the first "=", blanks included
    std::string_view value;  ///< between the first and the second "=", trimmed of blanks

    /// Nothing when the line has no "=". A value that holds a "=" itself is cut there: the format has no way
    /// to quote one, and the programs that share the file read it so.
    static std::optional<PropertiesEntry> parse(std::string_view line);
};

}  // namespace ferrolt
