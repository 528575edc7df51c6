#include "Expect.h"
#include "FuzzInput.h"
#include "LogLayout.h"
#include "LogRows.h"
#include "Utf8.h"

#include <algorithm>
#include <string_view>

using namespace ferrolt;

namespace {

/// Text of one byte for each cell has a fast way of its own. The general way is taken as soon as another
/// character is anywhere in the element, and has to find the same rows.
void checkFastWay(const QByteArray &element, int columns) {
    if (std::any_of(element.begin(), element.end(), [](char c) { return c != '\n' && (c < ' ' || c > '~'); }))
        return;
    const QByteArray ended = element.endsWith('\n') ? element : element + '\n';
    std::vector<std::uint32_t> starts = rowStarts(ended, columns);
    RowCount counts = countRows(ended, columns);
    starts.push_back(static_cast<std::uint32_t>(ended.size()));
    expect(rowStarts(ended + "\u00e9", columns) == starts);
    const RowCount general = countRows(ended + "\u00e9", columns);
    expect(general.rows == counts.rows + 1 && general.lines == counts.lines + 1);
    expect(general.widest == std::max(counts.widest, 1U));
}

/// The rows of an element are its whole text, cut between characters, each in one line.
void checkRows(const QByteArray &element, int columns) {
    const auto size = static_cast<std::uint32_t>(element.size());
    const RowCount counts = countRows(element, columns);
    const std::vector<std::uint32_t> starts = rowStarts(element, columns);
    expect(starts.size() == counts.rows && starts.front() == 0 && counts.rows >= counts.lines);
    expect(counts.lines ==
           static_cast<std::uint32_t>(element.count('\n')) + (element.endsWith('\n') ? 0 : 1));
    expect(counts.rows == counts.lines || counts.widest > static_cast<std::uint32_t>(columns));
    for (std::size_t i = 0; i < starts.size(); ++i) {
        const std::uint32_t begin = starts[i];
        const std::uint32_t next = i + 1 < starts.size() ? starts[i + 1] : size;
        const std::uint32_t textEnd = rowTextEnd(element, begin, next);
        expect(begin < next && begin <= textEnd && textEnd <= next);
        expect(utf8::characterStart(element, begin) == begin);
        const QByteArray text = element.mid(begin, textEnd - begin);
        expect(!text.contains('\n'));
        const QByteArray lineBreak = element.mid(textEnd, next - textEnd);
        expect(lineBreak.isEmpty() || lineBreak == "\n" || lineBreak == "\r\n" || lineBreak == "\r");
        if (!text.isEmpty())
            expect(countRows(text, columns).rows == 1);
    }
}

void checkLayout(const LogBuffer &log, LogLayout &layout) {
    qint64 y = LogLayout::padding;
    for (std::uint64_t i = log.firstSequence(); i < log.endSequence(); ++i) {
        const std::uint32_t rows = layout.rowCount(i);
        expect(rows == countRows(log.bySequence(i), layout.columns()).rows);
        for (std::uint32_t number = 0; number < rows; ++number) {
            const LogRow row = layout.row(i, number);
            expect(row.number == number && layout.rowOf({i, row.begin}) == row);
            expect(number + 1 < rows ||
                   count(row.next) == static_cast<std::size_t>(log.bySequence(i).size()));
        }
    }
    expect(layout.isExact());
    for (std::uint64_t i = log.firstSequence(); i < log.endSequence(); ++i) {
        expect(layout.top(i) == y && layout.elementAt(y) == i);
        y += layout.heightOf(i) + LogLayout::spacing;
    }
    expect(layout.markerBottom() == y + LogLayout::markerHeight);
}

}  // namespace

/// Sets any text in rows of any width, and checks what every text has in common.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzInput input(data, size);
    const int columns = 1 + static_cast<int>(input.below(40));
    const int otherColumns = 1 + static_cast<int>(input.below(40));
    const std::size_t maxLength = 4 + input.below(256);
    const std::size_t kept = 1 + input.below(8);
    LogBuffer log;
    LogLayout layout(log);
    layout.setGrid(columns, 10);
    QByteArray bytes = input.rest();
    while (!bytes.isEmpty()) {
        const utf8::Replaced replaced = utf8::withReplacements(
            std::string_view(bytes.data(), static_cast<std::size_t>(bytes.size())), maxLength);
        bytes = bytes.mid(static_cast<qsizetype>(replaced.taken));
        checkRows(replaced.text, columns);
        checkFastWay(replaced.text, columns);
        log.append(replaced.text);
        if (log.size() > kept)
            log.takeFirst();
        if (log.endSequence() % 2 == 0)
            layout.sync();
    }
    layout.sync();
    checkLayout(log, layout);
    layout.setGrid(otherColumns, 10);
    checkLayout(log, layout);
    return 0;
}
