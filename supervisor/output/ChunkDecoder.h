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
    /// No text is larger, in bytes: a full log must not hold more than the memory it is reckoned with.
    static constexpr std::size_t largestText = 65536;

    /// The text that these bytes complete; empty when there is none yet. Between calls at most 3 bytes wait
    /// here.
    ///
    /// The longest of the prefixes that leave out 0, 1, 2 or 3 bytes and are strict UTF-8 is the text, and
    /// what it leaves out waits. When none is, everything becomes text with replacement characters. Up to 3
    /// bytes that are not UTF-8 therefore wait as well, although no later byte can mend them: the empty
    /// prefix is valid. They come out once more bytes arrive. This is on purpose: the rule knows no other
    /// state than the bytes.
    ///
    /// Replacement characters can make the text three times as long as the bytes. What would be too long is
    /// taken in parts, just as if less had arrived at a time: `bytes` is left with what is to be given again.
    LogElement take(std::span<const std::byte> &bytes);

    /// A chunk of at most this many bytes that is UTF-8 is taken at once. The bytes that wait count as well.
    std::size_t roomForBytes() const { return largestText - pending.size(); }

  private:
    std::string pending;
};

}  // namespace ferrolt
