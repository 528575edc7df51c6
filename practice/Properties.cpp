#include "Properties.h"

#include <charconv>
#include <fstream>
#include <stdexcept>

namespace ferrolt::practice {

namespace {

std::string trimmed(const std::string &text) {
    const auto first = text.find_first_not_of(" \t\r");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

Properties::Properties(const std::filesystem::path &path) : file(path) {
    std::ifstream stream(path);
    for (std::string line; std::getline(stream, line);) {
        const auto sign = line.find('=');
        if (!line.starts_with('#') && sign != std::string::npos)
            values.emplace(trimmed(line.substr(0, sign)), trimmed(line.substr(sign + 1)));
    }
}

std::string Properties::text(const std::string &key) const {
    const auto entry = values.find(key);
    return entry == values.end() ? std::string() : entry->second;
}

int Properties::number(const std::string &key, int min, int max, int fallback) const {
    const std::string digits = text(key);
    if (digits.empty())
        return fallback;
    int value = 0;
    const char *const end = digits.data() + digits.size();
    const auto [rest, problem] = std::from_chars(digits.data(), end, value);
    if (problem != std::errc() || rest != end || value < min || value > max)
        throw std::runtime_error(file.string() + ": " + key + " is not a number from " + std::to_string(min) +
                                 " to " + std::to_string(max) + ": " + digits);
    return value;
}

}  // namespace ferrolt::practice
