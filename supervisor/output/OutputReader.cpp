#include "OutputReader.h"

#include <utility>

namespace ferrolt {

std::shared_ptr<OutputReader> OutputReader::attachReader(FileDescriptor readingEnd,
                                                         LogMailbox::Delivery delivery,
                                                         LogMailbox::Audience audience) {
    static_assert(ChunkDecoder::maxText == PipeReader::maxRead + ChunkDecoder::maxPending,
                  "what one read completes must fit into one element");
    auto mailbox = std::make_shared<LogMailbox>(std::move(delivery), std::move(audience));
    auto decoder = std::make_shared<ChunkDecoder>();
    auto reader =
        PipeReader::prepare(std::move(readingEnd), [mailbox, decoder](std::span<const std::byte> bytes) {
            while (!bytes.empty()) {
                LogElement text = decoder->take(bytes);
                if (!text.isEmpty())
                    mailbox->post(std::move(text));
            }
        });
    if (!reader)
        return nullptr;
    return std::shared_ptr<OutputReader>(new OutputReader(std::move(reader), std::move(mailbox)));
}

void OutputReader::childHasEnded() {
    reader->childHasEnded();
    mailbox->handOverNow();
}

}  // namespace ferrolt
