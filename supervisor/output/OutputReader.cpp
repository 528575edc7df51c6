#include "OutputReader.h"

#include "ChunkDecoder.h"

#include <utility>

namespace ferrolt {

std::shared_ptr<OutputReader> OutputReader::attachReader(FileDescriptor readingEnd,
                                                         LogThrottle::Delivery delivery) {
    static_assert(ChunkDecoder::maxText == PipeReader::maxRead + ChunkDecoder::maxPending,
                  "what one read completes must fit into one element");
    auto throttle = std::make_shared<LogThrottle>(std::move(delivery));
    auto decoder = std::make_shared<ChunkDecoder>();
    auto reader =
        PipeReader::prepare(std::move(readingEnd), [throttle, decoder](std::span<const std::byte> bytes) {
            while (!bytes.empty()) {
                LogElement text = decoder->take(bytes);
                if (!text.isEmpty())
                    throttle->post(std::move(text));
            }
        });
    if (!reader)
        return nullptr;
    return std::shared_ptr<OutputReader>(new OutputReader(std::move(reader), std::move(throttle)));
}

void OutputReader::detach() {
    reader->detach();
    throttle->close();
}

}  // namespace ferrolt
