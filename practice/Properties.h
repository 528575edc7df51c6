#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace ferrolt::practice {

/// The "key = value" lines of a file, read once. Lines that begin with "#" and lines without "=" are
/// comments; the first of several lines with one key counts. Blanks around keys and values, and a CR at a
/// line's end, belong to neither. A file that cannot be read has no keys.
class Properties {
  public:
    explicit Properties(const std::filesystem::path &path);

    /// The value of `key`; empty when there is none.
    std::string text(const std::string &key) const;

    /// The value of `key` as a decimal number; `fallback` when it is missing or empty. Throws
    /// std::runtime_error when it is no number from `min` to `max`.
    int number(const std::string &key, int min, int max, int fallback) const;

  private:
    std::filesystem::path file;
    std::map<std::string, std::string> values;
};

}  // namespace ferrolt::practice
