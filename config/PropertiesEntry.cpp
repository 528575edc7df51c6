#include "PropertiesEntry.h"

#include <cstddef>

namespace ferrolt {

std::string_view trimmedOfBlanks(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<PropertiesEntry> PropertiesEntry::parse(std::string_view line) {
    const std::size_t sign = line.find('=');
    if (sign == std::string_view::npos)
        return std::nullopt;
    const std::string_view afterSign = line.substr(sign + 1);
    return PropertiesEntry{line.substr(0, sign), trimmedOfBlanks(afterSign.substr(0, afterSign.find('=')))};
}

}  // namespace ferrolt
