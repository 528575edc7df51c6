#include "CpuTime.h"
#include "LogFinder.h"
#include "PlaceInLog.h"
#include "PlainFinder.h"
#include "TestProgram.h"

#include <QStringList>
#include <QtTest>

#include <algorithm>
#include <optional>
#include <random>
#include <vector>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace QTest {
template <>  // NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
char *toString(const std::vector<LogSpan> &spans) {
    QStringList words;
    for (const LogSpan &span : spans) {
        words << QStringLiteral("%1:%2-%3:%4")
                     .arg(span.begin.sequence)
                     .arg(count(span.begin.offset))
                     .arg(span.end.sequence)
                     .arg(count(span.end.offset));
    }
    return qstrdup(qPrintable(words.join(u' ')));
}
}  // namespace QTest

class LogFinderTest : public QObject {
    Q_OBJECT

    static std::size_t countAll(const LogBuffer &log, const QString &needle) {
        LogFinder finder(log);
        finder.setNeedle(needle);
        while (!finder.isCounted())
            finder.countFor(1ms);
        return finder.total();
    }
    static std::optional<LogSpan> find(LogFinder &finder, LogPosition from, Direction direction) {
        finder.startSearch(from, direction);
        LogFinder::Answer answer;
        do
            answer = finder.searchFor(0ns);
        while (answer == LogFinder::Answer::NotYet);
        return answer == LogFinder::Answer::Found ? std::optional(finder.found()) : std::nullopt;
    }

  private Q_SLOTS:
    void lettersAreFoundWhateverTheirCase() {
        LogBuffer log;
        log.append("Error, ERROR and error\n");
        log.append("\xc3\x84pfel, \xc3\xa4pfel\n");  // Äpfel, äpfel
        log.append("\xe2\x84\xaa is for Kelvin, k is not\n");
        QCOMPARE(countAll(log, QStringLiteral("error")), 3U);
        QCOMPARE(countAll(log, QString::fromUtf8("ÄPFEL")), 2U);
        QCOMPARE(countAll(log, QStringLiteral("k")), 3U);
        QCOMPARE(countAll(log, QStringLiteral("missing")), 0U);
        QCOMPARE(countAll(log, QString::fromUtf8("漢")), 0U);
        // From the first letter to the last, and not their neighbours.
        LogBuffer letters;
        letters.append("@AZ[`az{");
        for (const char16_t letter : {u'a', u'A', u'z', u'Z'})
            QCOMPARE(countAll(letters, QString(letter)), 2U);
        for (const char16_t other : {u'@', u'[', u'`', u'{'})
            QCOMPARE(countAll(letters, QString(other)), 1U);
    }

    void anotherNeedleEndsASearch() {
        LogBuffer log;
        log.append("one two\n");
        LogFinder finder(log);
        QVERIFY(!finder.isSearching());
        finder.startSearch(at(0, 0), Direction::Forward);
        QVERIFY(!finder.isSearching());  // for nothing
        finder.setNeedle(QStringLiteral("two"));
        QVERIFY(!finder.isSearching());
        finder.startSearch(at(0, 0), Direction::Forward);
        QVERIFY(finder.isSearching());
        finder.setNeedle(QStringLiteral("one"));
        QVERIFY(!finder.isSearching());
        QVERIFY(finder.searchFor(1s) == LogFinder::Answer::Nothing);
    }

    /// To the end of the log and once through all of it, an element with each call.
    void aSearchWithoutAHitEnds() {
        LogBuffer log;
        for (int i = 0; i < 3; ++i)
            log.append("text\n");
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("missing"));
        for (const Direction direction : {Direction::Forward, Direction::Backward}) {
            int calls = 0;
            finder.startSearch(at(1, 0), direction);
            while (finder.searchFor(0ns) == LogFinder::Answer::NotYet)
                ++calls;
            QCOMPARE(calls, 2 * 3);
            QVERIFY(!finder.isSearching());
        }
        finder.startSearch(at(1, 0), Direction::Forward);
        QVERIFY(finder.searchFor(1h) == LogFinder::Answer::Nothing);
    }

    void aSearchUnderWayFollowsTheLog() {
        LogBuffer log;
        for (int i = 0; i < 3; ++i)
            log.append("text\n");
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("hit"));
        finder.startSearch(at(0, 0), Direction::Forward);
        QVERIFY(finder.searchFor(0ns) == LogFinder::Answer::NotYet);
        log.takeFirst();
        log.takeFirst();
        log.append("a hit\n");
        QVERIFY(finder.searchFor(1h) == LogFinder::Answer::Found);
        QCOMPARE(finder.found().begin, at(3, 2));
    }

    /// Hits that lie within their elements are not counted again when others are dropped.
    void droppedTextCostsNothingToForget() {
        LogBuffer log;
        for (int i = 0; i < 10; ++i)
            log.append("hit\n");
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("hit"));
        finder.countFor(1h);
        QVERIFY(finder.isCounted());
        log.takeFirst();
        finder.sync();
        QVERIFY(finder.isCounted());
        QCOMPARE(finder.total(), 9U);
    }

    void withoutANeedleOrTheTextThereAreNoHits() {
        LogBuffer log;
        log.append("hit\n");
        LogFinder finder(log);
        QVERIFY(finder.hitsBetween(0, ByteOffset{0}, ByteOffset{4}).empty());
        finder.setNeedle(QStringLiteral("hit"));
        QCOMPARE(finder.hitsBetween(0, ByteOffset{0}, ByteOffset{4}).size(), 1U);
        log.append("hit\n");
        log.takeFirst();
        QVERIFY(finder.hitsBetween(0, ByteOffset{0}, ByteOffset{4}).empty());
    }

    void hitsDoNotOverlap() {
        LogBuffer log;
        log.append("aaaaa");
        QCOMPARE(countAll(log, QStringLiteral("aa")), 2U);
        // Nor across elements.
        log.append("aa");
        log.append("aaa");
        QCOMPARE(countAll(log, QStringLiteral("aa")), 5U);
    }

    /// An element ends wherever a read of the pipe ended.
    void aTextThatElementsShareIsFound() {
        LogBuffer log;
        log.append("the engine is lis");
        log.append("ten");
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("listening"));
        finder.countFor(1s);
        QCOMPARE(finder.total(), 0U);
        log.append("ing on a port\nlistening\n");
        finder.countFor(1s);
        QCOMPARE(finder.total(), 2U);
        QCOMPARE(finder.numberOf(at(0, 14)), std::optional<std::size_t>(1));
        QCOMPARE(finder.numberOf(at(2, 14)), std::optional<std::size_t>(2));
        const LogSpan shared{at(0, 14), at(2, 3)};
        QCOMPARE(find(finder, at(0, 0), Direction::Forward), std::optional(shared));
        // It is marked in each of the elements that it spans.
        for (std::uint64_t element = 0; element < 3; ++element)
            QCOMPARE(finder.hitsBetween(element, ByteOffset{0}, ByteOffset{30}).front(), shared);
        QCOMPARE(finder.hitsBetween(2, ByteOffset{3}, ByteOffset{30}).size(), 1U);
        QVERIFY(finder.hitsBetween(0, ByteOffset{0}, ByteOffset{14}).empty());

        log.takeFirst();
        finder.countFor(1s);
        QCOMPARE(finder.total(), 1U);
        QVERIFY(finder.hitsBetween(1, ByteOffset{0}, ByteOffset{3}).empty());
        log.takeFirst();
        finder.countFor(1s);
        QCOMPARE(finder.hitsBetween(2, ByteOffset{0}, ByteOffset{30}),
                 (std::vector<LogSpan>{{at(2, 14), at(2, 23)}}));
    }

    void hitsGoRoundInBothDirections() {
        LogBuffer log;
        log.append("x one\n");
        log.append("nothing\n");
        log.append("one, one\n");
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("one"));
        const auto next = [&](LogPosition from, Direction direction) {
            return find(finder, from, direction).value().begin;
        };
        QCOMPARE(next(at(0, 0), Direction::Forward), at(0, 2));
        QCOMPARE(next(at(0, 5), Direction::Forward), at(2, 0));
        QCOMPARE(next(at(2, 3), Direction::Forward), at(2, 5));
        QCOMPARE(next(at(2, 8), Direction::Forward), at(0, 2));
        QCOMPARE(next(at(0, 2), Direction::Backward), at(2, 5));
        QCOMPARE(next(at(2, 5), Direction::Backward), at(2, 0));
        QCOMPARE(next(at(2, 0), Direction::Backward), at(0, 2));
    }

    void countsFollowTheLog() {
        LogBuffer log;
        for (int i = 0; i < 10; ++i)
            log.append("hit\n");
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("hit"));
        finder.countFor(1s);
        QCOMPARE(finder.total(), 10U);
        for (int i = 0; i < 4; ++i)
            log.takeFirst();
        log.append("hit hit\n");
        finder.sync();
        QVERIFY(!finder.isCounted());
        finder.countFor(1s);
        QCOMPARE(finder.total(), 8U);
        QCOMPARE(finder.numberOf(at(10, 4)), std::optional<std::size_t>(8));
        QCOMPARE(finder.numberOf(at(10, 3)), std::nullopt);
    }

    /// Random logs that grow and lose their beginning, with elements shorter than the needle.
    void whatIsFoundIsWhatAPlainSearchOfTheJoinedLogFinds_data() {
        QTest::addColumn<QStringList>("letters");
        QTest::addRow("two letters") << QStringList{"a", "b"};
        QTest::addRow("one letter") << QStringList{"a"};
        QTest::addRow("case and lines") << QStringList{"a", "A", "b", "\n"};
        QTest::addRow("one to four bytes") << QStringList{"k", "K", "é", "É", "\u212A", "😀"};
    }
    void whatIsFoundIsWhatAPlainSearchOfTheJoinedLogFinds() {
        QFETCH(QStringList, letters);
        std::mt19937 random(7);
        const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
        const auto text = [&](std::size_t max) {
            QString some;
            for (std::size_t left = 1 + below(max); left > 0; --left)
                some += letters[static_cast<qsizetype>(below(static_cast<std::size_t>(letters.size())))];
            return some;
        };
        std::size_t shared = 0;
        for (int round = 0; round < 100; ++round) {
            LogBuffer log;
            LogFinder finder(log);
            QString needle = text(6);
            finder.setNeedle(needle);
            const std::size_t maxLength = 1 + below(8);
            for (int step = 0; step < 40; ++step) {
                for (std::size_t drops = below(4); drops > 0 && !log.isEmpty(); --drops)
                    log.takeFirst();
                for (std::size_t appends = below(5); appends > 0; --appends)
                    log.append(text(maxLength).toUtf8());
                if (below(20) == 0)
                    finder.setNeedle(needle = text(6));
                if (log.isEmpty())
                    continue;
                finder.sync();
                const PlainFinder plain(log, needle);
                const auto anywhere = [&] {
                    const std::uint64_t sequence = log.firstSequence() + below(log.size());
                    const auto size = static_cast<std::size_t>(log.bySequence(sequence).size());
                    return at(sequence, static_cast<std::uint32_t>(below(size + 1)));
                };
                // In any order, before the hits are counted, too. Then a needle that can overlap itself may
                // give other hits.
                while (PlainFinder::canOverlap(needle) && !finder.isCounted())
                    finder.countFor(0ns);
                for (std::size_t questions = below(4); questions > 0; --questions) {
                    const LogPosition from = anywhere();
                    QCOMPARE(find(finder, from, Direction::Forward), plain.next(from));
                    QCOMPARE(find(finder, from, Direction::Backward), plain.previous(from));
                    const LogPosition place = anywhere();
                    const LogPosition to{place.sequence, std::max(place.offset, anywhere().offset)};
                    QCOMPARE(finder.hitsBetween(place.sequence, place.offset, to.offset),
                             plain.between(place, to));
                    finder.countFor(0ns);
                }
                if (below(2) == 0)
                    continue;
                while (!finder.isCounted())
                    finder.countFor(0ns);
                QCOMPARE(finder.total(), plain.hits.size());
                for (std::size_t i = 0; i < plain.hits.size(); ++i) {
                    QCOMPARE(finder.numberOf(plain.hits[i].begin), std::optional(i + 1));
                    shared += plain.hits[i].begin.sequence + 1 < plain.hits[i].end.sequence ? 1U : 0U;
                }
                const LogPosition place = anywhere();
                const bool isHit = std::ranges::find(plain.hits, place, &LogSpan::begin) != plain.hits.end();
                QCOMPARE(finder.numberOf(place).has_value(), isHit);
            }
        }
        QVERIFY2(shared > 30, "hits that span three elements or more");
    }

    /// In a long run of one letter, where hits lie depends on where the run begins. They are placed anew when
    /// its beginning is dropped, and counted right even if elements were searched from the end.
    void hitsInALongRunOfOneLetterAreCountedFromItsBeginning() {
        LogBuffer log;
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("aa"));
        for (int i = 0; i < 20; ++i)
            log.append(QByteArray(9001, 'a'));
        while (log.size() > 10) {
            const auto last = log.endSequence() - 1;
            QVERIFY(find(finder, at(last, 9001), Direction::Backward));
            do
                finder.countFor(0ns);
            while (!finder.isCounted());
            const PlainFinder plain(log, QStringLiteral("aa"));
            QCOMPARE(finder.total(), plain.hits.size());
            QCOMPARE(finder.hitsBetween(last, ByteOffset{0}, ByteOffset{9001}),
                     plain.between(at(last, 0), at(last, 9001)));
            log.takeFirst();
        }
    }

    /// A view asks for those of the elements on screen, and the user may scroll through all of them.
    void theHitsOfManyElementsAreTheSameWhenAskedForAgain() {
        LogBuffer log;
        for (int i = 0; i < 4; ++i)
            log.append(QByteArray(60'000, 'a'));  // more than 64 Ki hits from the second on
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("a"));
        for (int round = 0; round < 2; ++round) {
            for (std::uint64_t i = 0; i < 4; ++i) {
                const auto hits = finder.hitsBetween(i, ByteOffset{0}, ByteOffset{60'000});
                QCOMPARE(hits.size(), 60'000U);
                QCOMPARE(hits.front(), (LogSpan{at(i, 0), at(i, 1)}));
                QCOMPARE(hits.back(), (LogSpan{at(i, 59'999), at(i, 60'000)}));
            }
        }
    }

    void withoutANeedleOrALogNothingIsFound() {
        LogBuffer log;
        LogFinder finder(log);
        QVERIFY(!find(finder, at(0, 0), Direction::Forward));
        QVERIFY(finder.searchFor(1s) == LogFinder::Answer::Nothing);  // none was started
        finder.setNeedle(QStringLiteral("x"));
        QVERIFY(!find(finder, at(0, 0), Direction::Forward));
        QVERIFY(!find(finder, at(0, 0), Direction::Backward));
        finder.setNeedle(QString());
        log.append("x\n");
        QVERIFY(!find(finder, at(0, 0), Direction::Forward));
        QVERIFY(!finder.numberOf(at(0, 0)));
        QVERIFY(finder.hitsBetween(0, ByteOffset{0}, ByteOffset{1}).empty());
    }

    void aHitHasANumberOnceAllAreCountedAndWhileTheLogHasIt() {
        LogBuffer log;
        log.append("x\n");
        log.append("y x\n");
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("x"));
        QVERIFY(!finder.numberOf(at(1, 2)));
        finder.countFor(1s);
        QCOMPARE(finder.numberOf(at(1, 2)), std::optional<std::size_t>(2));
        log.takeFirst();
        finder.countFor(1s);
        QCOMPARE(finder.numberOf(at(1, 2)), std::optional<std::size_t>(1));
        QVERIFY(!finder.numberOf(at(0, 0)));
        QVERIFY(finder.hitsBetween(0, ByteOffset{0}, ByteOffset{1}).empty());
    }

    void aSearchBackwardsFromTextThatWasDroppedGoesOnAtTheEnd() {
        LogBuffer log;
        log.append("x\n");
        log.append("x x\n");
        LogFinder finder(log);
        finder.setNeedle(QStringLiteral("x"));
        log.takeFirst();
        QCOMPARE(find(finder, at(0, 1), Direction::Backward), std::optional(LogSpan{at(1, 2), at(1, 3)}));
    }

    /// An element that arrives is searched, and nothing else: not the one before it again, however short what
    /// arrives, nor anything twice for the needle's sake.
    void whatArrivesCostsItsLength() {
        const QString needle = QString(500, u'a') + u'b';
        LogBuffer log;
        LogFinder finder(log);
        finder.setNeedle(needle);
        CpuTime clock;
        log.append(QByteArray(4'000'000, 'a'));
        do
            finder.countFor(1s);
        while (!finder.isCounted());
        const auto whole = clock.nanoseconds();
        clock.start();
        constexpr int arrivals = 1000;
        for (int i = 0; i < arrivals; ++i) {
            log.append("a");
            finder.countFor(1s);
        }
        const auto each = clock.nanoseconds() / arrivals;
        QVERIFY2(each < whole / 20,
                 qPrintable(QString("%1 us each, %2 us for 4 MB").arg(each / 1000).arg(whole / 1000)));
        log.append("B");
        finder.countFor(1s);
        QCOMPARE(finder.total(), 1U);
    }
};

TEST_CLASS(LogFinderTest, NoApplication)
#include "LogFinderTest.moc"
