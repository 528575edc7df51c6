#include "ChunkDecoder.h"

#include "Utf8.h"

#include <string_view>

namespace ferrolt {

LogElement ChunkDecoder::take(std::span<const std::byte> arrived) {
    constexpr std::size_t mostPending = 3;

    std::string_view bytes(reinterpret_cast<const char *>(arrived.data()), arrived.size());
    std::string joined;
    if (!pending.empty()) {
        joined = pending;
        joined += bytes;
        bytes = joined;
    }
    const std::size_t valid = utf8::validPrefixLength(bytes);
    if (bytes.size() - valid > mostPending) {
        pending.clear();
        return utf8::withReplacements(bytes);
    }
    pending = bytes.substr(valid);
    return {bytes.data(), static_cast<qsizetype>(valid)};
}

}  // namespace ferrolt
