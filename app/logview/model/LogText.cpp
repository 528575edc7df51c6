#include "LogText.h"

#include "Utf16.h"
#include "Utf8.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace ferrolt {
namespace {

/// This many bytes before and after a position decide where its character or word ends. A longer word is cut.
constexpr std::size_t reach = 512;

/// The text around a position in UTF-16, for QTextBoundaryFinder: its two ends are boundaries, so one is
/// found in every direction in which there is text.
class Window {
  public:
    Window(const LogElement &element, std::size_t at) {
        const auto size = static_cast<std::size_t>(element.size());
        begin = utf8::characterStart(element, at - std::min(at, reach));
        const std::size_t end = utf8::characterStart(element, std::min(at + reach, size));
        bytes = QByteArrayView(element).sliced(static_cast<qsizetype>(begin),
                                               static_cast<qsizetype>(end - begin));
        text = utf16Of(bytes);
        unit = static_cast<int>(utf16Of(bytes.first(static_cast<qsizetype>(at - begin))).size());
    }

    /// The offset in the element of an index in `text`.
    ByteOffset offsetOf(qsizetype units) const {
        return byteOffset(begin + static_cast<std::size_t>(QStringView(text).first(units).toUtf8().size()));
    }

    QString text;
    int unit{};  ///< the index of the position in `text`

  private:
    QByteArrayView bytes;
    std::size_t begin{};
};

std::size_t sizeOf(const LogBuffer &log, std::uint64_t sequence) {
    Q_ASSERT(log.holds(sequence));
    return static_cast<std::size_t>(log.bySequence(sequence).size());
}

// The end of an element and the beginning of the next are the same place in the text. These prefer the later
// and the earlier of the two positions.

LogPosition forward(const LogBuffer &log, LogPosition position) {
    if (count(position.offset) >= sizeOf(log, position.sequence) && log.holds(position.sequence + 1))
        return {position.sequence + 1, ByteOffset{0}};
    return position;
}

LogPosition backward(const LogBuffer &log, LogPosition position) {
    if (count(position.offset) == 0 && position.sequence > log.firstSequence())
        return {position.sequence - 1, byteOffset(sizeOf(log, position.sequence - 1))};
    return position;
}

}  // namespace

LogPosition LogText::begin(const LogBuffer &log) {
    return {log.firstSequence(), ByteOffset{0}};
}

LogPosition LogText::end(const LogBuffer &log) {
    Q_ASSERT(!log.isEmpty());
    const std::uint64_t last = log.endSequence() - 1;
    return {last, byteOffset(sizeOf(log, last))};
}

LogPosition LogText::clamped(const LogBuffer &log, LogPosition position) {
    Q_ASSERT(!log.isEmpty());
    if (position.sequence < log.firstSequence())
        return begin(log);
    if (position.sequence >= log.endSequence())
        return end(log);
    return {position.sequence, std::min(position.offset, byteOffset(sizeOf(log, position.sequence)))};
}

bool LogText::isEmpty(const LogBuffer &log, LogSpan span) {
    return span.isEmpty() || (log.holds(span.begin.sequence) && forward(log, span.begin) >= span.end);
}

LogPosition LogText::nextCharacter(const LogBuffer &log, LogPosition from) {
    from = forward(log, from);
    const LogElement &element = log.bySequence(from.sequence);
    if (count(from.offset) >= static_cast<std::size_t>(element.size()))
        return from;
    const Window window(element, count(from.offset));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, window.text);
    finder.setPosition(window.unit);
    return forward(log, {from.sequence, window.offsetOf(finder.toNextBoundary())});
}

LogPosition LogText::previousCharacter(const LogBuffer &log, LogPosition from) {
    from = backward(log, from);
    if (count(from.offset) == 0)
        return from;
    const Window window(log.bySequence(from.sequence), count(from.offset));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, window.text);
    finder.setPosition(window.unit);
    return {from.sequence, window.offsetOf(finder.toPreviousBoundary())};
}

LogPosition LogText::nextWord(const LogBuffer &log, LogPosition from) {
    from = forward(log, from);
    const LogElement &element = log.bySequence(from.sequence);
    if (count(from.offset) >= static_cast<std::size_t>(element.size()))
        return from;
    const Window window(element, count(from.offset));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Word, window.text);
    finder.setPosition(window.unit);
    qsizetype at = finder.toNextBoundary();
    while (at < window.text.size() && window.text[at].isSpace())
        at = finder.toNextBoundary();
    return forward(log, {from.sequence, window.offsetOf(at)});
}

LogPosition LogText::previousWord(const LogBuffer &log, LogPosition from) {
    from = backward(log, from);
    if (count(from.offset) == 0)
        return from;
    const Window window(log.bySequence(from.sequence), count(from.offset));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Word, window.text);
    finder.setPosition(window.unit);
    qsizetype at = finder.toPreviousBoundary();
    while (at > 0 && window.text[at].isSpace())
        at = finder.toPreviousBoundary();
    return {from.sequence, window.offsetOf(at)};
}

LogSpan LogText::wordAt(const LogBuffer &log, LogPosition position) {
    Q_ASSERT(log.holds(position.sequence));
    const LogElement &element = log.bySequence(position.sequence);
    if (element.isEmpty())
        return {position, position};
    const LogSpan line = lineAt(log, position);
    // A position behind the last character of a line belongs to the line's last word.
    const QByteArrayView rest =
        QByteArrayView(element).sliced(static_cast<qsizetype>(count(position.offset)));
    if (position.offset > line.begin.offset &&
        (rest.isEmpty() || rest == QByteArrayView("\r") || rest.startsWith('\n') || rest.startsWith("\r\n")))
        position.offset = byteOffset(utf8::characterStart(element, count(position.offset) - 1));
    const Window window(element, count(position.offset));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Word, window.text);
    finder.setPosition(window.unit);
    qsizetype begin = window.unit;
    if (!finder.isAtBoundary())
        begin = finder.toPreviousBoundary();
    finder.setPosition(window.unit);
    qsizetype end = finder.toNextBoundary();
    return {{position.sequence, window.offsetOf(begin)}, {position.sequence, window.offsetOf(end)}};
}

LogSpan LogText::lineAt(const LogBuffer &log, LogPosition position) {
    Q_ASSERT(log.holds(position.sequence));
    const LogElement &element = log.bySequence(position.sequence);
    auto at = static_cast<qsizetype>(count(position.offset));
    if (at == element.size() && at > 0 && element[at - 1] == '\n')
        --at;
    const qsizetype before = at > 0 ? element.lastIndexOf('\n', at - 1) : -1;
    const qsizetype feed = element.indexOf('\n', at);
    const qsizetype end = feed < 0 ? element.size() : feed + 1;
    return {{position.sequence, byteOffset(static_cast<std::size_t>(before + 1))},
            {position.sequence, byteOffset(static_cast<std::size_t>(end))}};
}

QByteArray LogText::firstLine(const LogBuffer &log, LogSpan span, qsizetype maxBytes) {
    const auto breaksLine = [](char byte) { return byte >= '\n' && byte <= '\r'; };  // LF, VT, FF, CR
    QByteArray line;
    for (const QByteArray &piece : pieces(log, span)) {
        const auto begin =
            line.isEmpty() ? std::find_if_not(piece.begin(), piece.end(), breaksLine) : piece.begin();
        const auto end = std::find_if(begin, piece.end(), breaksLine);
        // One byte more than asked for shows whether the last character is whole.
        line.append(begin, std::min<qsizetype>(end - begin, maxBytes + 1 - line.size()));
        if (end != piece.end() || line.size() > maxBytes)
            break;
    }
    if (line.size() > maxBytes)
        line.truncate(static_cast<qsizetype>(utf8::characterStart(line, static_cast<std::size_t>(maxBytes))));
    return line;
}

std::vector<QByteArray> LogText::pieces(const LogBuffer &log, LogSpan span) {
    std::vector<QByteArray> found;
    for (std::uint64_t i = std::max(span.begin.sequence, log.firstSequence());
         i <= span.end.sequence && log.holds(i); ++i) {
        const LogElement &element = log.bySequence(i);
        const auto from = i == span.begin.sequence ? static_cast<qsizetype>(count(span.begin.offset)) : 0;
        const auto to =
            i == span.end.sequence ? static_cast<qsizetype>(count(span.end.offset)) : element.size();
        if (from < to)
            found.push_back(element.mid(from, to - from));
    }
    return found;
}

}  // namespace ferrolt
