#include "EnginePort.h"

#include "MainQueue.h"
#include "PathResolvers.h"
#include "PropertiesEntry.h"
#include "TextFile.h"
#include "TextLines.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace ferrolt {

namespace {

constexpr std::int64_t defaultEnginePort = 9877;

/// The number, if `text` is only a positive decimal number with an optional sign.
std::optional<std::int64_t> positiveNumber(std::string_view text) {
    // std::from_chars accepts "-" but not "+". "+-1" gives a negative number, which is refused below.
    if (text.starts_with('+'))
        text.remove_prefix(1);
    std::int64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc() || stop != end || number <= 0)
        return std::nullopt;
    return number;
}

}  // namespace

std::int64_t readEnginePort() {
    assertMainThread();
    const TextFile file = TextFile::read(localPropertiesPath());
    TextLines lines(file.text);
    while (const auto line = lines.next()) {
        const auto entry = PropertiesEntry::parse(*line);
        if (!entry || trimmedOfBlanks(entry->key) != "MediaSocketPort")
            continue;
        if (const auto port = positiveNumber(entry->value))
            return *port;
    }
    return defaultEnginePort;
}

}  // namespace ferrolt
