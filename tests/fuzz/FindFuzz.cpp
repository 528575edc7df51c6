#include "Expect.h"
#include "FuzzInput.h"
#include "LogFinder.h"
#include "PlainFinder.h"

#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

/// Few letters, so that a text repeats itself: of one to four bytes, in both cases, and a line break.
QString textFrom(FuzzInput &input, std::size_t maxLength) {
    static const QString letters[] = {"a", "A", "b", "\n", "é", "É", "\u212A", "😀"};
    QString text;
    for (std::size_t left = 1 + input.below(maxLength); left > 0; --left)
        text += letters[input.below(std::size(letters))];
    return text;
}

std::optional<LogSpan> find(LogFinder &finder, LogPosition from, Direction direction) {
    finder.startSearch(from, direction);
    LogFinder::Answer answer;
    do
        answer = finder.searchFor(0ns);
    while (answer == LogFinder::Answer::NotYet);
    return answer == LogFinder::Answer::Found ? std::optional(finder.found()) : std::nullopt;
}

void compare(FuzzInput &input, const LogBuffer &log, LogFinder &finder, const QString &needle) {
    const PlainFinder plain(log, needle);
    const std::uint64_t sequence = log.firstSequence() + input.below(log.size());
    const auto size = static_cast<std::size_t>(log.bySequence(sequence).size());
    const auto a = static_cast<std::uint32_t>(input.below(size + 1));
    const auto b = static_cast<std::uint32_t>(input.below(size + 1));
    const LogPosition from = at(sequence, std::min(a, b));
    const LogPosition to = at(sequence, std::max(a, b));
    expect(find(finder, from, Direction::Forward) == plain.next(from));
    expect(find(finder, from, Direction::Backward) == plain.previous(from));
    expect(finder.hitsBetween(sequence, from.offset, to.offset) == plain.between(from, to));
    while (!finder.isCounted())
        finder.countFor(0ns);
    expect(finder.total() == plain.hits.size());
    for (std::size_t i = 0; i < plain.hits.size(); ++i)
        expect(finder.numberOf(plain.hits[i].begin) == i + 1);
}

}  // namespace

/// Lets a log grow and lose its beginning, and compares what is found with a plain search of the joined log.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzInput input(data, size);
    LogBuffer log;
    LogFinder finder(log);
    QString needle = textFrom(input, 6);
    finder.setNeedle(needle);
    std::size_t bytes = 0;
    const auto append = [&](const QByteArray &element) {
        log.append(element);
        bytes += static_cast<std::size_t>(element.size());
    };
    while (!input.isEmpty()) {
        switch (input.below(6)) {
            case 0:
                finder.setNeedle(needle = textFrom(input, 6));
                break;
            case 1:
                if (!log.isEmpty())
                    bytes -= static_cast<std::size_t>(log.takeFirst().size());
                break;
            case 2:
                finder.countFor(0ns);
                break;
            case 3: {
                // Longer than the text that is read to find where a hit may have begun.
                const QByteArray piece = textFrom(input, 3).toUtf8();
                if (bytes < 10'000)
                    append(piece.repeated(4500 / piece.size()));
                break;
            }
            default:
                append(textFrom(input, 8).toUtf8());
        }
        finder.sync();
        while (PlainFinder::canOverlap(needle) && !finder.isCounted())
            finder.countFor(0ns);
        if (!log.isEmpty() && bytes < 1000)
            compare(input, log, finder, needle);
    }
    while (!finder.isCounted())
        finder.countFor(0ns);
    if (!log.isEmpty())
        compare(input, log, finder, needle);
    return 0;
}
