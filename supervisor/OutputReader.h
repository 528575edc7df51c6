#pragma once

#include <memory>

namespace ferrolt {
class OutputReader;
/// The subscription of a child's output; dropping the last one detaches the reader.
using ObserverToken = std::shared_ptr<OutputReader>;
}  // namespace ferrolt
