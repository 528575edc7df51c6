#pragma once

#include <optional>
#include <string_view>

namespace ferrolt {

/// Walks the lines of a text in UTF-8, without copying it.
///
/// Every newline character ends a line by itself: U+000A to U+000D, U+0085, U+2028 and U+2029. A carriage
/// return and a line feed therefore have an empty line between them. The text after the last newline
/// character is a line too, even an empty one: the empty text has one line.
class TextLines {
  public:
    /// `text` must be well-formed UTF-8 and outlive this object.
    explicit TextLines(std::string_view text);

    /// The next line without its newline character; nothing after the last.
    std::optional<std::string_view> next();

  private:
    std::optional<std::string_view> rest;
};

}  // namespace ferrolt
