#pragma once

#include "LogBuffer.h"

#include <cstddef>
#include <span>
#include <string>

namespace ferrolt {

/// Turns a child's output, as it arrives in chunks, into text without ever tearing a character apart. Owned
/// by one thread.
class ChunkDecoder {
  public:
    /// The text that these bytes complete; empty when there is none yet. Between calls at most 3 bytes wait
    /// here.
    ///
    /// The longest of the prefixes that leave out 0, 1, 2 or 3 bytes and are strict UTF-8 is the text, and
    /// what it leaves out waits. When none is, everything becomes text with replacement characters. Up to 3
    /// bytes that are not UTF-8 therefore wait as well, although no later byte can mend them: the empty
    /// prefix is valid. They come out once more bytes arrive. This is on purpose: the rule knows no other
    /// state than the bytes.
    LogElement take(std::span<const std::byte> bytes);

  private:
    std::string pending;
};

}  // namespace ferrolt
