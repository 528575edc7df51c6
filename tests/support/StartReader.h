#pragma once

#include "PipeReader.h"

#include <memory>
#include <utility>

namespace ferrolt {

/// A reader that reads; null when it cannot.
inline std::shared_ptr<PipeReader> startReader(FileDescriptor readingEnd, PipeReader::Receiver receiver) {
    auto reader = PipeReader::prepare(std::move(readingEnd), std::move(receiver));
    return reader && reader->begin() == 0 ? reader : nullptr;
}

}  // namespace ferrolt
