#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>

namespace ferrolt {

/// Takes numbers from the bytes of a fuzzer; zeros once they are used up.
class FuzzInput {
  public:
    FuzzInput(const std::uint8_t *data, std::size_t size) : at(data), end(data + size) {}

    bool isEmpty() const { return at == end; }
    /// A number from 0 to `limit` - 1; `limit` must be at least 1.
    std::size_t below(std::size_t limit) {
        std::size_t number = 0;
        for (std::size_t max = 1; max < limit; max *= 256)
            number = number * 256 + (isEmpty() ? 0U : *at++);
        return number % limit;
    }
    QByteArray rest() {
        const QByteArray bytes(reinterpret_cast<const char *>(at), end - at);
        at = end;
        return bytes;
    }

  private:
    const std::uint8_t *at;
    const std::uint8_t *end;
};

}  // namespace ferrolt
