#include "PropertiesFile.h"

#include <cerrno>
#include <charconv>
#include <fstream>
#include <string_view>

namespace ferrolt::practice {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

}  // namespace

PropertiesFile PropertiesFile::read(const std::filesystem::path &path) {
    PropertiesFile file;
    // A folder opens like a file and fails only when it is read.
    if (std::filesystem::is_directory(path, file.readFailure)) {
        file.readFailure = std::make_error_code(std::errc::is_a_directory);
        return file;
    }
    errno = 0;
    std::ifstream stream(path);
    if (!stream) {
        file.readFailure = std::error_code(errno != 0 ? errno : EIO, std::generic_category());
        return file;
    }
    file.readFailure.clear();
    bool first = true;
    for (std::string line; std::getline(stream, line);) {
        std::string_view entry = line;
        if (first && entry.starts_with(byteOrderMark))
            entry.remove_prefix(byteOrderMark.size());
        first = false;
        const auto sign = entry.find('=');
        if (entry.starts_with('#') || sign == std::string_view::npos)
            continue;
        file.values.emplace(trimmed(entry.substr(0, sign)), trimmed(entry.substr(sign + 1)));
    }
    return file;
}

std::string PropertiesFile::text(const std::string &key) const {
    const auto entry = values.find(key);
    return entry == values.end() ? std::string() : entry->second;
}

PropertiesFile::Number PropertiesFile::number(const std::string &key, int least, int most,
                                              int fallback) const {
    const std::string digits = text(key);
    if (digits.empty())
        return {NumberState::Missing, fallback};
    int value = 0;
    const char *const end = digits.data() + digits.size();
    const auto [rest, problem] = std::from_chars(digits.data(), end, value);
    if (problem != std::errc() || rest != end || value < least || value > most)
        return {NumberState::Unusable, fallback};
    return {NumberState::Usable, value};
}

}  // namespace ferrolt::practice
