#pragma once

#include <optional>
#include <string_view>

namespace ferrolt {

/// `text` without spaces and tabs at both ends. Other white space, such as a no-break space, is kept.
std::string_view trimmedOfBlanks(std::string_view text);

/// One "key = value" line of a properties file. How a key is matched is up to the caller: the files differ in
/// that.
struct PropertiesEntry {
    std::string_view key;    ///< all before the first "=", with blanks
    std::string_view value;  ///< between the first and the second "=", trimmed of blanks

    /// Nothing if the line has no "=". A value ends at a second "=": the format cannot quote one, and the
    /// programs that share the file read it so. The result refers to `line`.
    static std::optional<PropertiesEntry> parse(std::string_view line);
};

}  // namespace ferrolt
