#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

namespace ferrolt {

/// One launcher message, or one chunk of a child's output as it arrived: valid UTF-8, never empty. Kept as
/// the bytes that came; a view turns them into UTF-16 only for what is on screen.
using LogElement = QByteArray;

/// The elements of one child's log, oldest first. Main thread only; AppVars announces a change before making
/// it.
///
/// An element keeps its sequence number when older ones are dropped, so a view can tell which of the elements
/// that it knows are still there without comparing texts.
class LogBuffer {
  public:
    std::size_t size() const { return elements.size(); }
    bool isEmpty() const { return elements.empty(); }

    /// The element at `index`, 0 being the oldest. The index must be below size().
    const LogElement &at(std::size_t index) const {
        Q_ASSERT(index < size());
        return elements[index];
    }

    /// The sequence number of the oldest element; the number of elements dropped so far.
    std::uint64_t firstSequence() const { return first; }
    /// One past the sequence number of the newest element; the number of elements ever appended.
    std::uint64_t endSequence() const { return first + elements.size(); }

    /// Whether the buffer holds the element with this sequence number.
    bool holds(std::uint64_t sequence) const { return sequence >= first && sequence < endSequence(); }

    /// The element with this sequence number, which the buffer must hold.
    const LogElement &bySequence(std::uint64_t sequence) const {
        Q_ASSERT(holds(sequence));
        return elements[static_cast<std::size_t>(sequence - first)];
    }

    /// All elements together, in bytes.
    std::size_t byteCount() const {
        std::size_t bytes = 0;
        for (const LogElement &element : elements)
            bytes += static_cast<std::size_t>(element.size());
        return bytes;
    }

    void append(LogElement element) { elements.push_back(std::move(element)); }

    /// Removes the oldest element; there must be one.
    LogElement takeFirst() {
        Q_ASSERT(!isEmpty());
        LogElement oldest = std::move(elements.front());
        elements.pop_front();
        ++first;
        return oldest;
    }

    /// All elements joined without separators: they carry their own line breaks.
    QByteArray joined() const {
        QByteArray text;
        for (const LogElement &element : elements)
            text.append(element);
        return text;
    }

    /// A copy of the list of elements. The elements share their bytes with the buffer's.
    std::vector<LogElement> snapshot() const { return {elements.begin(), elements.end()}; }

  private:
    std::deque<LogElement> elements;
    std::uint64_t first = 0;
};

}  // namespace ferrolt
