#pragma once

#include <QByteArray>

#include <algorithm>
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
    /// That many bytes, or as many as are left.
    QByteArray bytes(std::size_t count) {
        const auto length = std::min(static_cast<std::ptrdiff_t>(count), end - at);
        const QByteArray taken(reinterpret_cast<const char *>(at), length);
        at += length;
        return taken;
    }
    QByteArray rest() { return bytes(static_cast<std::size_t>(end - at)); }

  private:
    const std::uint8_t *at;
    const std::uint8_t *end;
};

}  // namespace ferrolt
