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
};

TEST_CLASS(LogViewportTest, NoApplication)
#include "LogViewportTest.moc"
