#pragma once

#include "LogBuffer.h"

#include <cstddef>
#include <span>
#include <string>

namespace ferrolt {

/// Turns a child's output, as it arrives in chunks, into text without splitting a character. Used by one
/// thread.
class ChunkDecoder {
  public:
    /// At most this many bytes wait for the next chunk: the longest beginning of a character.
    static constexpr std::size_t maxPending = 3;
    /// No text is larger, in bytes, so that the memory of a full log is bounded. It has room for 64 KiB of
    /// UTF-8 and for the bytes that waited.
    static constexpr std::size_t maxText = 65536 + maxPending;

    /// The text that these bytes complete; empty if they complete none.
    ///
    /// The longest prefix that is strict UTF-8 and leaves out 0, 1, 2 or 3 bytes becomes text, and the bytes
    /// that it leaves out wait. If there is no such prefix, everything becomes text, with replacement
    /// characters. Up to 3 bytes that are not UTF-8 therefore wait as well, although no later byte can make
    /// them valid: the empty prefix is valid. They come out once more bytes arrive. This is deliberate: the
    /// rule needs no other state than the bytes.
    ///
    /// Replacement characters can make the text three times as long as the bytes. If it would be longer than
    /// `maxText`, only the first bytes are taken, as if the others had not arrived yet, and `arrived` is left
    /// with the others, for the next call.
    LogElement take(std::span<const std::byte> &arrived);

  private:
    std::string pending;
};

}  // namespace ferrolt
