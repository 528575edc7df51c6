#include "LogRows.h"

#include "CellWidth.h"
#include "Utf8.h"

#include <algorithm>
#include <cstring>

namespace ferrolt {
namespace {

/// So many marks may join one character. What a hostile text heaps on it beyond that takes cells like any
/// other character, so that a row never holds more text than can be laid out in a moment.
constexpr int marksOfOneCharacter = 16;

constexpr char32_t zeroWidthJoiner = 0x200D;

bool isPlain(QByteArrayView text) {
    // Whether a plain char is signed differs from one processor to the next.
    const auto *at = reinterpret_cast<const unsigned char *>(text.data());
    const auto size = static_cast<std::size_t>(text.size());
    const auto odd = [](unsigned char c) { return (c < 0x20 && c != '\n') || c >= 0x7F; };
    constexpr std::size_t block = 64;  // a fixed count of turns lets the compiler take many bytes at once
    std::size_t i = 0;
    for (; i + block <= size; i += block) {
        unsigned char found = 0;
        for (std::size_t j = 0; j < block; ++j)
            found |= static_cast<unsigned char>(odd(at[i + j]));
        if (found != 0)
            return false;
    }
    return std::none_of(at + i, at + size, odd);
}

/// Walks the rows of an element of printable ASCII, where a cell is a byte.
template <class OnRow>
RowCount walkPlain(QByteArrayView element, std::uint32_t columns, OnRow onRow) {
    const char *const text = element.data();
    const auto size = static_cast<std::uint32_t>(element.size());
    RowCount count;
    std::uint32_t lineBegin = 0;
    std::uint32_t begin = 0;
    const auto endLine = [&](std::uint32_t end) {
        ++count.lines;
        count.widest = std::max(count.widest, end - lineBegin);
    };
    while (begin < size) {
        onRow(begin);
        ++count.rows;
        const std::uint32_t reach = std::min(size - begin, columns + 1);
        const void *feed = std::memchr(text + begin, '\n', reach);
        if (feed != nullptr) {
            const auto end = static_cast<std::uint32_t>(static_cast<const char *>(feed) - text);
            endLine(end);
            lineBegin = begin = end + 1;
            continue;
        }
        if (size - begin <= columns)
            break;
        std::uint32_t next = begin + columns;
        if (text[next] == ' ') {
            ++next;
            if (next < size && text[next] == '\n') {
                endLine(next);
                lineBegin = ++next;
            }
        } else {
            std::uint32_t word = next;
            while (word > begin && text[word - 1] != ' ')
                --word;
            // The spaces that indent a long word are no place to break: a row of nothing would stand there.
            std::uint32_t ink = begin;
            while (ink < word && text[ink] == ' ')
                ++ink;
            if (ink < word)
                next = word;
        }
        begin = next;
    }
    if (lineBegin < size)
        endLine(size);
    return count;
}

/// Reads the rows of an element that holds anything, character by character.
class AnyRows {
  public:
    AnyRows(QByteArrayView element, std::uint32_t columns)
        : element(element), size(static_cast<std::uint32_t>(element.size())), columns(columns) {}

    /// Reads the row that begins at `begin` and returns where the next one does.
    std::uint32_t read(std::uint32_t begin) {
        std::uint32_t at = begin;
        std::uint32_t cells = 0;
        std::uint32_t breakAt = begin;
        bool ink = false;
        bool mayBreak = false;  // before the character at hand, because of the one before it
        bool joined = false;
        int marks = 0;
        ++count.rows;
        while (at < size) {
            if (byte(at) == '\n')
                return endLine(at + 1);
            if (belongsToBreak(at)) {
                ++at;
                continue;
            }
            const utf8::Character character = utf8::characterAt(element, at);
            const auto next = at + static_cast<std::uint32_t>(character.length);
            const bool blank = character.codePoint == ' ' || character.codePoint == '\t';
            std::uint32_t width = 1;
            if (character.codePoint == '\t') {
                width = std::min(tabCells - cells % tabCells, std::max(columns, cells + 1) - cells);
                addToLine(next, tabCells - lineCells % tabCells);
            } else {
                width = static_cast<std::uint32_t>(cellsOf(character.codePoint));
                if (width == 0 || joined)
                    width = ++marks > marksOfOneCharacter ? 1 : 0;
                addToLine(next, width);
            }
            joined = character.codePoint == zeroWidthJoiner;
            if (width > 0) {
                marks = 0;
                if (ink && (mayBreak || width == 2))
                    breakAt = at;
                if (cells > 0 && cells + width > columns) {
                    if (blank)
                        return afterHanging(next);
                    return breakAt > begin ? breakAt : at;
                }
                ink = ink || !blank;
                mayBreak = blank || width == 2;
                cells += width;
            }
            at = next;
        }
        return at;
    }

    /// What was read, once the last row was.
    RowCount result() {
        if (size > 0 && byte(size - 1) != '\n')
            endLine(size);
        return count;
    }

  private:
    char byte(std::uint32_t at) const { return element[static_cast<qsizetype>(at)]; }

    bool belongsToBreak(std::uint32_t at) const {
        return byte(at) == '\r' && (at + 1 == size || byte(at + 1) == '\n');
    }

    /// A row may begin before what the row before it had read; nothing is counted twice.
    void addToLine(std::uint32_t next, std::uint32_t width) {
        if (next <= countedTo)
            return;
        countedTo = next;
        lineCells += width;
    }

    std::uint32_t endLine(std::uint32_t next) {
        ++count.lines;
        count.widest = std::max(count.widest, lineCells);
        lineCells = 0;
        return next;
    }

    /// The row ends with a blank over its edge; a line break right after it is this row's too.
    std::uint32_t afterHanging(std::uint32_t at) {
        if (at < size && belongsToBreak(at))
            ++at;
        return at < size && byte(at) == '\n' ? endLine(at + 1) : at;
    }

    QByteArrayView element;
    std::uint32_t size;
    std::uint32_t columns;
    std::uint32_t lineCells = 0;
    std::uint32_t countedTo = 0;
    RowCount count;
};

template <class OnRow>
RowCount walkAny(QByteArrayView element, std::uint32_t columns, OnRow onRow) {
    AnyRows rows(element, columns);
    for (std::uint32_t at = 0; at < static_cast<std::uint32_t>(element.size()); at = rows.read(at))
        onRow(at);
    return rows.result();
}

template <class OnRow>
RowCount walk(QByteArrayView element, int columns, OnRow onRow) {
    const auto width = static_cast<std::uint32_t>(std::max(columns, 1));
    RowCount count = isPlain(element) ? walkPlain(element, width, onRow) : walkAny(element, width, onRow);
    if (count.rows == 0) {  // no element is empty; were one, it would still be a row
        onRow(0U);
        count.rows = count.lines = 1;
    }
    return count;
}

}  // namespace

RowCount countRows(QByteArrayView element, int columns) {
    return walk(element, columns, [](std::uint32_t) {});
}

std::vector<std::uint32_t> rowStarts(QByteArrayView element, int columns) {
    std::vector<std::uint32_t> starts;
    walk(element, columns, [&](std::uint32_t begin) { starts.push_back(begin); });
    return starts;
}

std::uint32_t rowTextEnd(QByteArrayView element, std::uint32_t begin, std::uint32_t next) {
    const auto byte = [&](std::uint32_t i) { return element[static_cast<qsizetype>(i)]; };
    std::uint32_t end = next;
    const bool feed = end > begin && byte(end - 1) == '\n';
    if (feed)
        --end;
    if ((feed || next == static_cast<std::uint32_t>(element.size())) && end > begin && byte(end - 1) == '\r')
        --end;
    return end;
}

}  // namespace ferrolt
