#include "ChunkDecoder.h"

#include "Utf8.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace ferrolt {

LogElement ChunkDecoder::take(std::span<const std::byte> &arrived) {
    constexpr std::size_t mostPending = 3;

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
    if (bytes.size() > largestText || bytes.size() - valid > mostPending) {
        replaced = utf8::withReplacements(bytes, largestText);
        taken = replaced.taken;
    }
    // What has waited is always among what was taken: it comes first, and there is room for more.
    arrived = arrived.subspan(taken - pending.size());
    if (taken > valid + mostPending) {
        pending.clear();
        return std::move(replaced.text);
    }
    valid = std::min(valid, taken);
    pending = bytes.substr(valid, taken - valid);
    return {bytes.data(), static_cast<qsizetype>(valid)};
}

}  // namespace ferrolt
