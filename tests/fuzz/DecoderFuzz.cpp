#include "ChunkDecoder.h"
#include "Expect.h"
#include "FuzzInput.h"
#include "PlainDecoder.h"

#include <span>
#include <string>
#include <utility>

using namespace ferrolt;

namespace {

/// Gives both decoders the same chunk. What is too much for one text is taken in parts, as if less had
/// arrived at a time.
void compare(ChunkDecoder &decoder, PlainDecoder &plain, const std::string &chunk) {
    for (auto arrived = std::as_bytes(std::span(chunk)); !arrived.empty();) {
        const std::size_t before = arrived.size();
        const std::string rest = chunk.substr(chunk.size() - before);
        const LogElement text = decoder.take(arrived);
        const std::size_t taken = before - arrived.size();
        const auto size = static_cast<std::size_t>(text.size());
        expect(taken > 0 && taken <= before);
        expect(text.toStdString() == plain.take(rest.substr(0, taken)));
        expect(size <= ChunkDecoder::maxText);
        expect(text.capacity() <= text.size() + 64);
        // A text is only cut when it is full: no room for a character and for replacements of what waits.
        expect(arrived.empty() ||
               size + sizeof(char32_t) + 3 * ChunkDecoder::maxPending > ChunkDecoder::maxText);
    }
}

}  // namespace

/// Reads any bytes in chunks of any size, some as large as the largest read, and compares each text with the
/// plain rule's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzInput input(data, size);
    ChunkDecoder decoder;
    PlainDecoder plain;
    bool isLargeToCome = input.below(256) == 255;  // few, because the plain rule takes milliseconds for one
    while (!input.isEmpty()) {
        const std::size_t length = input.below(32);
        std::string chunk = input.bytes(length == 0 ? input.below(1024) : length).toStdString();
        if (length == 31 && std::exchange(isLargeToCome, false)) {  // about as much as one text holds
            std::string large(ChunkDecoder::maxText - input.below(2048), 'x');
            for (std::size_t left = input.below(64); left > 0; --left)
                large += chunk;
            chunk = large + input.bytes(input.below(16)).toStdString();
        }
        compare(decoder, plain, chunk);
    }
    compare(decoder, plain, "the end");
    return 0;
}
