#include "LogViewport.h"
#include "TestProgram.h"

#include <QTest>

using namespace ferrolt;

class LogViewportTest : public QObject {
    Q_OBJECT

    /// 10 pixels a row, 20 cells, 100 pixels of height.
    struct Seen {
        Seen() : layout(log), view(layout) {
            view.setGrid(20, 10);
            view.setHeight(100);
        }
        void appendLines(int count) {
            for (int i = 0; i < count; ++i)
                log.append(QByteArray::number(log.endSequence()) + '\n');
        }
        void dropOldest(int count) {
            for (int i = 0; i < count; ++i)
                log.takeFirst();
        }
        QByteArray top() { return text(*view.rowAt(0)); }
        QByteArray text(const LogRow &row) const {
            return log.bySequence(row.sequence).mid(count(row.begin), count(row.textEnd) - count(row.begin));
        }

        LogBuffer log;
        LogLayout layout;
        LogViewport view;
    };

  private Q_SLOTS:
    void anEmptyLogIsItsPaddingAndTheMarker() {
        Seen seen;
        QCOMPARE(seen.layout.height(), 16 + 1 + 16);
        QCOMPARE(seen.view.maximum(), 0);
        QVERIFY(seen.view.visibleRows().empty());
        QVERIFY(!seen.view.rowAt(50));
    }

    void elementsStandFourPixelsApartAndTheMarkerAfterThem() {
        Seen seen;
        seen.log.append("one\n");
        seen.log.append("two\nthree\n");
        seen.view.sync(LogViewport::Hold::Offset, 0);
        const auto rows = seen.view.visibleRows();
        QCOMPARE(rows.size(), 3U);
        QCOMPARE(rows[0].y, 16);
        QCOMPARE(rows[1].y, 16 + 10 + 4);
        QCOMPARE(rows[2].y, 16 + 10 + 4 + 10);
        QCOMPARE(seen.layout.markerBottom(), 16 + 10 + 4 + 20 + 4 + 1);
        QCOMPARE(seen.layout.height(), seen.layout.markerBottom() + 16);
    }

    void aRowIsRevealedByTheShortestWay() {
        Seen seen;
        seen.appendLines(100);
        seen.view.sync(LogViewport::Hold::Offset, 10'000);
        const auto reveal = [&](std::uint64_t sequence) {
            seen.view.reveal(seen.layout.row(sequence, 0));
            return seen.view.yOf(seen.layout.row(sequence, 0));
        };
        QCOMPARE(reveal(50), 90);  // at the bottom
        const qint64 offset = seen.view.offset();
        reveal(49);
        QCOMPARE(seen.view.offset(), offset);  // it is on screen
        QCOMPARE(reveal(20), 0);               // at the top
        QCOMPARE(reveal(0), 16);               // with the space above the first
        QCOMPARE(seen.view.offset(), 0);
    }

    void onlyWhatIsOnScreenIsCounted() {
        Seen seen;
        for (int i = 0; i < 1000; ++i)
            seen.log.append(QByteArray("0123456789\n").repeated(100));
        seen.view.sync(LogViewport::Hold::Offset, 0);
        seen.view.visibleRows();
        std::size_t counted = 0;
        for (std::uint64_t i = 0; i < 1000; ++i)
            counted += seen.layout.isExact(i) ? 1U : 0U;
        QVERIFY(counted >= 1 && counted <= 2);
        seen.view.scrollTo(seen.view.maximum() / 2);
        seen.view.visibleRows();
        QVERIFY(!seen.layout.isExact());
    }

    void countingTheRestMovesNothingOnScreen() {
        Seen seen;
        for (int i = 0; i < 500; ++i)
            seen.log.append(QByteArray::number(i) + QByteArray(" words and\n").repeated(i % 37 + 1));
        seen.view.sync(LogViewport::Hold::Offset, 0);
        seen.view.scrollTo(seen.view.maximum() / 2);
        const auto before = seen.view.visibleRows();
        const qint64 estimated = seen.layout.height();
        while (!seen.layout.isExact())
            seen.view.measureFor(std::chrono::microseconds(50));
        QVERIFY(seen.layout.height() != estimated);
        QVERIFY(seen.view.visibleRows() == before);
    }

    void aViewAtTheEndStaysThereWhileTheRestIsCounted() {
        Seen seen;
        for (int i = 0; i < 500; ++i)
            seen.log.append(QByteArray::number(i) + QByteArray(" words and\n").repeated(i % 37 + 1));
        seen.view.sync(LogViewport::Hold::Offset, 0);
        for (int i = 0; i < 8; ++i) {
            seen.view.scrollTo(seen.view.followOffset());
            seen.view.settle();
        }
        QCOMPARE(seen.view.offset(), seen.view.followOffset());
        seen.view.measureBytes(std::size_t{1} << 30);
        QVERIFY(seen.layout.isExact());
        QCOMPARE(seen.view.offset(), seen.view.followOffset());
    }

    void theTextStaysWhenOlderElementsDrop() {
        Seen seen;
        seen.appendLines(1000);
        seen.view.sync(LogViewport::Hold::Text, 0);
        seen.view.scrollTo(5000);
        const auto before = seen.view.visibleRows();
        seen.appendLines(100);
        seen.dropOldest(100);
        seen.view.sync(LogViewport::Hold::Text, 0);
        QVERIFY(seen.view.visibleRows() == before);
    }

    /// As while the user drags in a console that is still empty.
    void theFirstTextIsShownFromItsTopWhateverIsHeld() {
        Seen seen;
        seen.appendLines(100);
        seen.view.sync(LogViewport::Hold::Text, 0);
        QCOMPARE(seen.view.offset(), 0);
    }

    void theOldestTextIsShownWhenWhatWasOnScreenHasDropped() {
        Seen seen;
        seen.appendLines(1000);
        seen.view.sync(LogViewport::Hold::Text, 0);
        seen.view.scrollTo(200);
        seen.appendLines(500);
        seen.dropOldest(500);
        seen.view.sync(LogViewport::Hold::Text, 0);
        QCOMPARE(seen.view.offset(), 0);
        QCOMPARE(seen.top(), "500");
    }

    void theOffsetStaysWhenItIsHeld() {
        Seen seen;
        seen.appendLines(1000);
        seen.view.sync(LogViewport::Hold::Offset, 0);
        seen.view.scrollTo(seen.view.followOffset());
        seen.view.settle();
        const qint64 offset = seen.view.offset();
        seen.appendLines(1);
        seen.log.takeFirst();
        seen.view.sync(LogViewport::Hold::Offset, 0);
        QCOMPARE(seen.view.offset(), offset);
        QVERIFY(seen.view.showsEnd());
        seen.log.append("so long that it\ntakes\nmore\nrows\nthan\nwas estimated\n");
        seen.log.takeFirst();
        seen.view.sync(LogViewport::Hold::Offset, 1000);
        seen.view.settle();
        QCOMPARE(seen.view.offset(), offset);
        QVERIFY(!seen.view.showsEnd());
    }

    void theTopmostTextStaysWhenTheWidthChanges() {
        Seen seen;
        for (int i = 0; i < 100; ++i)
            seen.log.append(QByteArray("some words that fill a few rows of text ").repeated(20) + '\n');
        seen.view.sync(LogViewport::Hold::Text, 0);
        seen.view.scrollTo(9000);
        const LogRow before = *seen.view.rowAt(0);
        seen.view.setGrid(13, 10);
        const LogRow after = *seen.view.rowAt(0);
        QCOMPARE(after.sequence, before.sequence);
        QVERIFY(after.begin <= before.begin && after.next > before.begin);
    }

    void aViewAtTheEndStaysThereWhenItIsResized() {
        Seen seen;
        for (int i = 0; i < 100; ++i)
            seen.log.append("some words that fill a few rows of text, more than two\n");
        seen.view.sync(LogViewport::Hold::Text, 0);
        seen.view.measureBytes(std::size_t{1} << 30);
        seen.view.scrollTo(seen.view.followOffset());
        seen.view.setGrid(7, 10);
        seen.view.settle();
        seen.view.measureBytes(std::size_t{1} << 30);
        QVERIFY(seen.view.showsEnd());
        seen.view.setHeight(40);
        QVERIFY(seen.view.showsEnd());
    }

    /// Also one that was scrolled to the very end, below the marker, or by a single pixel.
    void aViewAtTheEndKeepsItsDistanceFromIt() {
        Seen seen;
        seen.appendLines(20);
        seen.view.sync(LogViewport::Hold::Offset, 1000);
        for (const int below : {0, 7, 16}) {
            seen.view.setHeight(100);
            seen.view.scrollTo(seen.view.maximum() - below);
            seen.view.setHeight(60);
            QCOMPARE(seen.view.offset(), seen.view.maximum() - below);
            seen.view.settle();
            QCOMPARE(seen.view.offset(), seen.view.maximum() - below);
        }
        seen.view.scrollTo(seen.view.maximum() - 17);
        const qint64 offset = seen.view.offset();
        seen.view.setHeight(50);
        QCOMPARE(seen.view.offset(), offset);

        seen.view.setHeight(static_cast<int>(seen.layout.markerBottom()) - 1);
        seen.view.scrollTo(1);
        QVERIFY(seen.view.showsEnd());
        seen.view.setHeight(50);
        QVERIFY(seen.view.showsEnd());
    }

    void aLogThatFittedStaysAtItsTopWhenItNoLongerDoes() {
        Seen seen;
        seen.appendLines(4);
        seen.view.sync(LogViewport::Hold::Offset, 0);
        QCOMPARE(seen.view.maximum(), 0);
        seen.view.setHeight(40);
        QVERIFY(seen.view.maximum() > 0);
        QCOMPARE(seen.view.offset(), 0);
    }

    void aLogOfAThousandFullElementsOfLineBreaksHasItsHeight() {
        Seen seen;
        for (int i = 0; i < 1000; ++i)
            seen.log.append(QByteArray(65536, '\n'));
        seen.view.setGrid(20, 40);
        seen.view.sync(LogViewport::Hold::Offset, 0);
        seen.view.measureBytes(std::size_t{1} << 30);
        QCOMPARE(seen.layout.height(), 1000LL * (65536LL * 40 + 4) + 33);
        seen.view.scrollTo(seen.view.maximum());
        QCOMPARE(seen.view.visibleRows().back().row.number, 65535U);
    }

    void aWiderViewNeedsNoCountingWhenNoLineWasBroken() {
        Seen seen;
        seen.appendLines(1000);
        seen.view.sync(LogViewport::Hold::Offset, 0);
        seen.view.measureBytes(std::size_t{1} << 30);
        seen.view.setGrid(30, 10);
        QVERIFY(seen.layout.isExact());
        seen.view.setGrid(5, 10);
        QVERIFY(seen.layout.isExact());
    }

    /// Rows of 10 pixels: row n of the only element is 16 + 10n pixels from the top.
    static void appendRows(Seen &seen, int rows) {
        seen.log.append(QByteArray("row\n").repeated(rows));
        seen.view.sync(LogViewport::Hold::Offset, std::size_t{1} << 30);
    }

    void aRowIsRevealedByTheLeastDistance() {
        Seen seen;
        appendRows(seen, 100);
        const auto reveal = [&seen](std::uint32_t row, qint64 from) {
            seen.view.scrollTo(from);
            seen.view.reveal(seen.layout.row(0, row));
            return seen.view.offset();
        };
        QCOMPARE(reveal(20, 500), 16 + 200);
        QCOMPARE(reveal(20, 217), 16 + 200);
        QCOMPARE(reveal(20, 216), 216);
        QCOMPARE(reveal(20, 150), 150);
        QCOMPARE(reveal(20, 126), 126);
        QCOMPARE(reveal(20, 125), 126);
        QCOMPARE(reveal(20, 0), 126);
        // With the first row comes the space above it, if there is anything to scroll.
        QCOMPARE(reveal(0, 500), 0);
        QCOMPARE(reveal(0, 17), 0);
        QCOMPARE(reveal(0, 16), 16);
        QCOMPARE(reveal(1, 500), 26);
        seen.log.append("next\n");
        seen.view.sync(LogViewport::Hold::Offset, 100);
        seen.view.reveal(seen.layout.row(1, 0));
        QCOMPARE(seen.view.offset(), seen.layout.top(1) + 10 - 100);
        seen.view.scrollTo(seen.view.maximum());
        seen.view.setHeight(20);
        seen.view.scrollTo(seen.view.maximum());
        seen.view.reveal(seen.layout.row(1, 0));
        QCOMPARE(seen.view.offset(), seen.layout.top(1));
    }

    void rowsAreCountedBeforeOneIsRevealed() {
        Seen seen;
        seen.log.append(QByteArray("\n").repeated(100));
        seen.view.sync(LogViewport::Hold::Offset, 0);
        QVERIFY(!seen.layout.isExact(0));
        LogRow row;
        row.number = 50;
        seen.view.reveal(row);
        QVERIFY(seen.layout.isExact(0));
        QCOMPARE(seen.view.offset(), 16 + 510 - 100);
    }

    /// Whatever is asked first of rows that were only estimated.
    void aViewAtTheEndOrTheTopStaysThereWhenItsRowsAreCounted() {
        const auto uncounted = [](Seen &seen, int elements) {
            for (int i = 0; i < elements; ++i)
                seen.log.append("\n\n\n\n");
            seen.view.sync(LogViewport::Hold::Offset, 0);
        };
        Seen drawn;
        uncounted(drawn, 50);
        drawn.view.scrollTo(drawn.view.followOffset());
        QCOMPARE(drawn.view.visibleRows().back().row.sequence, 49U);
        QVERIFY(drawn.view.showsEnd());
        Seen clicked;
        uncounted(clicked, 50);
        clicked.view.scrollTo(clicked.view.followOffset());
        clicked.view.rowAt(0);
        QVERIFY(clicked.view.showsEnd());
        Seen fitting;
        uncounted(fitting, 4);
        QCOMPARE(fitting.view.maximum(), 0);
        fitting.view.settle();
        QVERIFY(fitting.view.maximum() > 0);
        QCOMPARE(fitting.view.offset(), 0);
    }

    void itScrollsWithinTheText() {
        Seen seen;
        appendRows(seen, 20);
        QCOMPARE(seen.view.maximum(), 16 + 200 + 4 + 1 + 16 - 100);
        QCOMPARE(seen.view.followOffset(), seen.view.maximum() - 16);
        seen.view.scrollTo(-1);
        QCOMPARE(seen.view.offset(), 0);
        seen.view.scrollTo(100000);
        QCOMPARE(seen.view.offset(), seen.view.maximum());
        QVERIFY(seen.view.showsEnd());
        seen.view.scrollTo(seen.view.followOffset());
        QVERIFY(seen.view.showsEnd());
        seen.view.scrollTo(seen.view.followOffset() - 1);
        QVERIFY(!seen.view.showsEnd());
    }

    void aPixelBelongsToTheNearestRow() {
        Seen seen;
        seen.log.append("one\ntwo\n");
        seen.log.append("three\n");
        seen.view.sync(LogViewport::Hold::Offset, 100);
        for (const auto &[y, text] : {std::pair(-50, "one"),
                                      {0, "one"},
                                      {25, "one"},
                                      {26, "two"},
                                      {35, "two"},
                                      {39, "two"},
                                      {40, "three"},
                                      {49, "three"},
                                      {500, "three"}})
            QCOMPARE(seen.text(*seen.view.rowAt(y)), text);
        QCOMPARE(seen.view.yOf(seen.layout.row(0, 1)), 26);
        QCOMPARE(seen.view.yOf(seen.layout.row(1, 0)), 40);
        seen.view.setHeight(30);
        seen.view.scrollTo(12);
        QCOMPARE(seen.view.yOf(seen.layout.row(0, 1)), 14);
        QCOMPARE(seen.text(*seen.view.rowAt(14)), "two");
        seen.log.append("four\n");
        QVERIFY(!seen.view.rowAt(0));
        QVERIFY(seen.view.visibleRows().empty());
    }

    void rowsOfWhichAPixelIsOnScreenAreVisible() {
        Seen seen;
        appendRows(seen, 100);
        const auto seenFrom = [&seen](qint64 offset) {
            seen.view.scrollTo(offset);
            const auto rows = seen.view.visibleRows();
            return QList<int>{static_cast<int>(rows.front().row.number), rows.front().y,
                              static_cast<int>(rows.back().row.number), rows.back().y};
        };
        QCOMPARE(seenFrom(0), (QList<int>{0, 16, 8, 96}));
        QCOMPARE(seenFrom(16), (QList<int>{0, 0, 9, 90}));
        QCOMPARE(seenFrom(17), (QList<int>{0, -1, 10, 99}));
        QCOMPARE(seenFrom(25), (QList<int>{0, -9, 10, 91}));
        QCOMPARE(seenFrom(26), (QList<int>{1, 0, 10, 90}));
        // An element of which only the spacing is on screen has none.
        seen.log.append("next\n");
        seen.view.sync(LogViewport::Hold::Offset, 100);
        seen.view.setHeight(14);
        QCOMPARE(seenFrom(16 + 1000), (QList<int>{0, 4, 0, 4}));
        QCOMPARE(seenFrom(16 + 990), (QList<int>{99, 0, 99, 0}));
        seen.view.setHeight(15);
        QCOMPARE(seenFrom(16 + 990), (QList<int>{99, 0, 0, 14}));
    }

    void thePixelsAboveTheTopmostRowStayWhenTheGridChanges() {
        Seen seen;
        seen.log.append("0123456789 0123456789 0123456789\n" + QByteArray("row\n").repeated(100));
        seen.log.append(QByteArray("row\n").repeated(100));
        seen.view.sync(LogViewport::Hold::Text, std::size_t{1} << 30);
        seen.view.scrollTo(16 + 23);  // 3 pixels of the third row, of the text from 22, are above
        seen.view.setGrid(11, 20);
        QCOMPARE(seen.view.rowAt(0)->begin, ByteOffset{22});
        QCOMPARE(seen.view.offset(), 16 + 2 * 20 + 3);
        seen.view.setGrid(40, 20);
        QCOMPARE(seen.view.rowAt(0)->begin, ByteOffset{0});
        QCOMPARE(seen.view.offset(), 16 + 3);
        // In the spacing below an element.
        seen.view.scrollTo(seen.layout.top(1) - 1);
        QCOMPARE(seen.view.offset(), 16 + 101 * 20 + 3);
        seen.view.setGrid(11, 10);
        QCOMPARE(seen.view.offset(), seen.layout.top(1) - 1);
        QCOMPARE(seen.view.offset(), 16 + 103 * 10 + 3);
        // Above the first.
        seen.view.scrollTo(5);
        seen.view.setGrid(20, 30);
        QCOMPARE(seen.view.offset(), 5);
    }

    void thePixelsBelowAnElementStayWhenTheGridChanges() {
        Seen seen;
        seen.appendLines(100);
        seen.view.sync(LogViewport::Hold::Offset, 10'000);
        seen.view.scrollTo(seen.layout.top(50) + 10 + 3);  // in the space between two elements
        seen.view.setGrid(20, 15);
        QCOMPARE(seen.view.offset(), seen.layout.top(50) + 15 + 3);
    }

    void beforeItFollowsTheLogNoRowIsAnswered() {
        Seen seen;
        seen.appendLines(3);
        seen.view.sync(LogViewport::Hold::Offset, 10'000);
        QCOMPARE(seen.view.visibleRows().size(), 3U);
        seen.appendLines(1);
        QVERIFY(seen.view.visibleRows().empty());
        QVERIFY(!seen.view.rowAt(20));
        seen.view.sync(LogViewport::Hold::Offset, 10'000);
        QCOMPARE(seen.view.visibleRows().size(), 4U);
    }

    void aGridChangesWhileTheLogDoes() {
        Seen seen;
        seen.appendLines(100);
        seen.view.sync(LogViewport::Hold::Text, 1000);
        seen.view.scrollTo(500);
        const QByteArray before = seen.top();
        seen.dropOldest(1);
        seen.view.setGrid(10, 10);
        QCOMPARE(seen.layout.columns(), 10);
        seen.view.sync(LogViewport::Hold::Text, 1000);
        QCOMPARE(seen.top(), before);
    }

    void newElementsAreCountedUpToSoManyBytes() {
        Seen seen;
        for (int i = 0; i < 10; ++i)
            seen.log.append("\n\n\n\n");
        seen.view.sync(LogViewport::Hold::Offset, 8);
        QVERIFY(seen.layout.isExact(9));
        QVERIFY(seen.layout.isExact(8));
        QVERIFY(!seen.layout.isExact(7));
    }
};

TEST_CLASS(LogViewportTest, NoApplication)
#include "LogViewportTest.moc"
