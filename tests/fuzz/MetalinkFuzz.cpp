#include "MetalinkPromises.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Parses any bytes and checks the properties of every result.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    if (!ferrolt::keepsItsPromises(ferrolt::parseMetalink(bytes)))
        std::abort();
    return 0;
}
