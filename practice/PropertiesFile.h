#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <system_error>

namespace ferrolt::practice {

/// A file of "key = value" lines, read once. Lines that begin with "#" and lines without "=" say nothing; of
/// a key that stands there twice the first counts. Blanks around keys and values, a CR at a line's end and a
/// byte-order mark are no part of them.
class PropertiesFile {
  public:
    /// The file's content, or why it could not be read.
    static PropertiesFile read(const std::filesystem::path &path);

    /// Empty when the file was read.
    std::error_code failure() const { return readFailure; }

    /// The value of `key`; empty when there is none.
    std::string text(const std::string &key) const;

    enum class NumberState { Missing, Unusable, Usable };
    struct Number {
        NumberState state;
        int value;  ///< the fallback unless usable
    };
    /// A decimal number between `least` and `most`; an absent or empty value is missing, not unusable.
    Number number(const std::string &key, int least, int most, int fallback) const;

  private:
    std::map<std::string, std::string> values;
    std::error_code readFailure;
};

}  // namespace ferrolt::practice
