#include "ChunkDecoder.h"

#include "Utf8.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace ferrolt {

LogElement ChunkDecoder::take(std::span<const std::byte> &arrived) {
    std::string_view bytes(reinterpret_cast<const char *>(arrived.data()), arrived.size());
    std::string joined;
    if (!pending.empty()) {
        joined = pending;
        joined += bytes;
        bytes = joined;
    }
    std::size_t valid = utf8::validPrefixLength(bytes);
    std::size_t taken = bytes.size();
    utf8::Replaced replaced;
    if (bytes.size() > maxText || bytes.size() - valid > maxPending) {
        replaced = utf8::withReplacements(bytes, maxText);
        taken = replaced.taken;
    }
    // The pending bytes come first and are fewer than maxText, so they are always taken.
    arrived = arrived.subspan(taken - pending.size());
    if (taken > valid + maxPending) {
        pending.clear();
        return std::move(replaced.text);
    }
    valid = std::min(valid, taken);
    pending = bytes.substr(valid, taken - valid);
    return {bytes.data(), static_cast<qsizetype>(valid)};
}

}  // namespace ferrolt
