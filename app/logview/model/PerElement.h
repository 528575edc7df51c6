#pragma once

#include "LogBuffer.h"

#include <QtGlobal>

#include <cstdint>
#include <deque>
#include <utility>

namespace ferrolt {

/// One value for each element of a log, looked up by the element's sequence number. The log drops and appends
/// elements at any time: the values are those of the elements that it held at the last sync().
template <class T>
class PerElement {
  public:
    /// `log` must outlive this.
    explicit PerElement(const LogBuffer &log) : log(log) {}

    bool isCurrent() const { return first == log.firstSequence() && endSequence() == log.endSequence(); }

    /// Removes the values of the elements that the log has dropped, oldest first, each after
    /// `forget(sequence)`. Then adds `make(element)` for each new element.
    template <class Make, class Forget>
    void sync(Make make, Forget forget) {
        for (; first < log.firstSequence() && !values.empty(); ++first) {
            forget(first);
            values.pop_front();
        }
        first = log.firstSequence();
        while (endSequence() < log.endSequence())
            values.push_back(make(log.bySequence(endSequence())));
    }
    template <class Make>
    void sync(Make make) {
        sync(std::move(make), [](std::uint64_t) {});
    }
    /// Removes all values; the next sync() makes new ones.
    void clear() { values.clear(); }

    bool isEmpty() const { return values.empty(); }
    std::size_t size() const { return values.size(); }
    std::uint64_t firstSequence() const { return first; }
    std::uint64_t endSequence() const { return first + values.size(); }
    bool knows(std::uint64_t sequence) const { return sequence >= first && sequence < endSequence(); }

    /// The value of an element that was there at the last sync().
    const T &operator[](std::uint64_t sequence) const {
        Q_ASSERT(knows(sequence));
        return values[static_cast<std::size_t>(sequence - first)];
    }
    T &operator[](std::uint64_t sequence) {
        Q_ASSERT(knows(sequence));
        return values[static_cast<std::size_t>(sequence - first)];
    }

    // Over the values, oldest first.
    auto begin() { return values.begin(); }
    auto end() { return values.end(); }
    auto begin() const { return values.begin(); }
    auto end() const { return values.end(); }

  private:
    const LogBuffer &log;
    std::uint64_t first = 0;
    std::deque<T> values;
};

}  // namespace ferrolt
