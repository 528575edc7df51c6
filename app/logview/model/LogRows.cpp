#include "LogRows.h"

#include "CellWidth.h"
#include "Utf8.h"

#include <algorithm>
#include <cstring>

namespace ferrolt {
namespace {

/// This many marks may join one character. In a hostile text each further one takes a cell, so that a row
/// never has more text than can be laid out quickly.
constexpr int maxMarksOfCharacter = 16;

constexpr char32_t zeroWidthJoiner = 0x200D;

/// Whether a text is printable ASCII and line feeds, so that a cell is a byte.
bool isPlain(QByteArrayView text) {
    // char is unsigned on arm.
    const auto *at = reinterpret_cast<const unsigned char *>(text.data());
    const auto size = static_cast<std::size_t>(text.size());
    const auto isOther = [](unsigned char c) { return !isPrintableAscii(c) && c != '\n'; };
    // With a constant number of iterations the compiler vectorises the loop.
    constexpr std::size_t block = 64;
    std::size_t i = 0;
    for (; i + block <= size; i += block) {
        unsigned char found = 0;
        for (std::size_t j = 0; j < block; ++j)
            found |= static_cast<unsigned char>(isOther(at[i + j]));
        if (found != 0)
            return false;
    }
    return std::none_of(at + i, at + size, isOther);
}

/// Walks the rows of an element for which isPlain().
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
            // No break after the spaces that indent a long word: the row would be blank.
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

/// Reads the rows of any element, character by character.
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
        bool mayBreak = false;  // before the current character
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
                // Cut at the edge of the row.
                width = std::min(nextTabStop(cells), std::max(columns, cells + 1)) - cells;
                addToLine(next, nextTabStop(lineCells) - lineCells);
            } else {
                width = static_cast<std::uint32_t>(cellsOf(character.codePoint));
                if (width == 0 || joined)
                    width = ++marks > maxMarksOfCharacter ? 1 : 0;
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

    /// To be called after the last row.
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

    /// The previous row may have read beyond its end; no character is counted twice.
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

    /// After a blank that exceeds the row; a line break right after it belongs to this row.
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
    Q_ASSERT(!element.isEmpty() && columns >= 1);
    const auto width = static_cast<std::uint32_t>(columns);
    return isPlain(element) ? walkPlain(element, width, onRow) : walkAny(element, width, onRow);
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
    Q_ASSERT(begin <= next && next <= static_cast<std::uint32_t>(element.size()));
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
