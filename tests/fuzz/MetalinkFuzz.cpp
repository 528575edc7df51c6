#include "Expect.h"
#include "MetalinkPromises.h"

#include <cstddef>
#include <cstdint>

/// Parses any bytes and checks the properties of every result.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    ferrolt::expect(ferrolt::keepsItsPromises(ferrolt::parseMetalink(bytes)));
    return 0;
}
