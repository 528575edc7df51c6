#include "LogLayout.h"
#include "PlaceInLog.h"
#include "TestProgram.h"

#include <QTest>

using namespace ferrolt;
using namespace std::chrono_literals;

class LogLayoutTest : public QObject {
    Q_OBJECT

    static constexpr std::size_t allBytes = std::size_t{1} << 30;

    /// 20 cells, 10 pixels a row.
    struct Laid {
        explicit Laid(const QList<QByteArray> &elements) : layout(log) {
            layout.setGrid(20, 10);
            append(elements);
        }
        void append(const QList<QByteArray> &elements) {
            for (const QByteArray &element : elements)
                log.append(element);
            layout.sync();
        }
        void dropOldest() {
            log.takeFirst();
            layout.sync();
        }

        LogBuffer log;
        LogLayout layout;
    };

  private Q_SLOTS:
    /// A screen reader may ask for the text of a console that was never shown.
    void beforeAGridIsSetItIsThatOfATerminal() {
        LogBuffer log;
        LogLayout layout(log);
        QCOMPARE(layout.columns(), 80);
        QCOMPARE(layout.rowHeight(), 16);
        // Estimates go by what is counted in it.
        log.append(QByteArray("a\n").repeated(10));
        layout.sync();
        layout.measure(0);
        log.append(QByteArray(40, 'a'));
        layout.sync();
        QCOMPARE(layout.heightOf(1), 20 * 16);
    }

    void elementsStandBelowEachOther() {
        Laid laid({"one\n", "two\nthree\n", "four\n"});
        laid.layout.measureBytes(allBytes);
        QCOMPARE(laid.layout.top(0), 16);
        QCOMPARE(laid.layout.top(1), 16 + 10 + 4);
        QCOMPARE(laid.layout.top(2), 16 + 10 + 4 + 20 + 4);
        QCOMPARE(laid.layout.top(3), 16 + 10 + 4 + 20 + 4 + 10 + 4);  // the marker
        QCOMPARE(laid.layout.markerBottom(), laid.layout.top(3) + 1);
        QCOMPARE(laid.layout.height(), laid.layout.markerBottom() + 16);
        QCOMPARE(laid.layout.heightOf(1), 20);
    }

    void anElementIsFoundByItsPixelsAndTheSpacingBelow() {
        Laid laid({"one\n", "two\n", "three\n"});
        laid.layout.measureBytes(allBytes);
        for (const auto &[y, element] : {std::pair(-100, 0U),
                                         {0, 0U},
                                         {15, 0U},
                                         {16, 0U},
                                         {29, 0U},
                                         {30, 1U},
                                         {43, 1U},
                                         {44, 2U},
                                         {54, 2U},
                                         {58, 2U},
                                         {1000, 2U}})
            QCOMPARE(laid.layout.elementAt(y), element);
        laid.dropOldest();
        QCOMPARE(laid.layout.elementAt(29), 1U);
        QCOMPARE(laid.layout.elementAt(30), 2U);
    }

    void anElementIsEstimatedByItsBytesUntilItIsCounted() {
        Laid laid({QByteArray("a\n").repeated(10), "b\n"});
        QCOMPARE(laid.layout.heightOf(0), 10);  // 20 bytes fit into a row
        QCOMPARE(laid.layout.heightOf(1), 10);  // no row less
        QVERIFY(!laid.layout.isExact(0));
        laid.layout.measure(0);
        QVERIFY(laid.layout.isExact(0));
        QVERIFY(!laid.layout.isExact(1));
        QCOMPARE(laid.layout.heightOf(0), 100);
        QCOMPARE(laid.layout.top(1), 16 + 100 + 4);
    }

    void whatIsCountedServesTheNextEstimates() {
        Laid laid({QByteArray("a\n").repeated(10)});
        laid.layout.measure(0);
        laid.append({QByteArray(40, 'a')});
        QCOMPARE(laid.layout.heightOf(1), 200);  // a row for each two bytes, as it was in the first
        laid.layout.measure(1);
        QCOMPARE(laid.layout.heightOf(1), 20);
        laid.append({QByteArray(30, 'a')});
        QCOMPARE(laid.layout.heightOf(2), 60);  // 12 rows in 60 bytes
        // In another grid they count for nothing.
        laid.layout.setGrid(10, 10);
        QCOMPARE(laid.layout.heightOf(2), 10 * (1 + 30 / 10));
        laid.append({QByteArray(40, 'a')});
        QCOMPARE(laid.layout.heightOf(3), 10 * (40 / 10));
    }

    void afterAChangeOfWidthOnlyBrokenLinesAreCountedAgain() {
        Laid laid({QByteArray("0123456789\n").repeated(3), "a\nb\n", "not counted\n"});
        laid.layout.measure(0);
        laid.layout.measure(1);
        laid.layout.setGrid(10, 10);
        QVERIFY(laid.layout.isExact(0));
        QCOMPARE(laid.layout.heightOf(0), 30);
        laid.layout.setGrid(9, 10);
        QVERIFY(!laid.layout.isExact(0));
        QCOMPARE(laid.layout.heightOf(0), 10 * (3 + 33 / 9));  // estimated
        QVERIFY(laid.layout.isExact(1));
        QVERIFY(!laid.layout.isExact(2));
        QCOMPARE(laid.layout.rowCount(0), 6U);
        QCOMPARE(laid.layout.top(1), 16 + 60 + 4);
        laid.layout.setGrid(20, 10);
        QVERIFY(laid.layout.isExact(0));
        QCOMPARE(laid.layout.heightOf(0), 30);
        QCOMPARE(laid.layout.top(1), 16 + 30 + 4);
    }

    void rowsOfAnotherHeightAreTheSameRows() {
        Laid laid({"a\nb\n", "c\n"});
        laid.layout.measureBytes(allBytes);
        QCOMPARE(laid.layout.top(1), 16 + 20 + 4);
        laid.layout.setGrid(20, 7);
        QVERIFY(laid.layout.isExact());
        QCOMPARE(laid.layout.rowHeight(), 7);
        QCOMPARE(laid.layout.top(1), 16 + 14 + 4);
        QCOMPARE(laid.layout.height(), 16 + 14 + 4 + 7 + 4 + 1 + 16);
    }

    void itIsExactWhenEveryElementIsCounted() {
        Laid laid({"a\n", "b\n", "c\n"});
        QVERIFY(!laid.layout.isExact());
        laid.layout.measure(1);
        laid.layout.measure(1);
        laid.layout.measure(2);
        QVERIFY(!laid.layout.isExact());
        laid.dropOldest();  // the one that was not counted
        QVERIFY(laid.layout.isExact());
        laid.append({"d\n"});
        laid.dropOldest();  // one that was
        QVERIFY(!laid.layout.isExact());
        laid.layout.setGrid(15, 10);
        QVERIFY(!laid.layout.isExact());
        laid.layout.measure(3);
        QVERIFY(laid.layout.isExact());
    }

    void theNewestElementsAreCountedFirst() {
        const QByteArray element("0123456789");
        Laid laid({element, element, element, element});
        const auto counted = [&] {
            QByteArray which;
            for (std::uint64_t i = laid.layout.firstSequence(); i < laid.layout.endSequence(); ++i)
                which += laid.layout.isExact(i) ? 'x' : '-';
            return which;
        };
        laid.layout.measureBytes(0);
        QCOMPARE(counted(), "----");
        laid.layout.measureBytes(1);
        QCOMPARE(counted(), "---x");
        laid.layout.measureBytes(10);
        QCOMPARE(counted(), "--xx");
        laid.append({element});
        laid.layout.measureBytes(11);
        QCOMPARE(counted(), "-xxxx");
        laid.append({element, element});
        laid.layout.measureFor(0ns);
        QCOMPARE(counted(), "-xxxx-x");
        laid.layout.measureFor(1h);
        QCOMPARE(counted(), "xxxxxxx");
        QVERIFY(laid.layout.isExact());
    }

    void whileTheLogHasChangedNothingIsCounted() {
        Laid laid({"a\n"});
        laid.log.append("b\n");
        QVERIFY(!laid.layout.isCurrent());
        laid.layout.measureFor(1h);
        laid.layout.measureBytes(allBytes);
        QVERIFY(!laid.layout.isExact(0));
        QVERIFY(!laid.layout.knows(1));
        laid.layout.sync();
        QVERIFY(laid.layout.isCurrent());
        QVERIFY(laid.layout.knows(1));
        laid.log.takeFirst();
        QVERIFY(!laid.layout.isCurrent());
        laid.layout.sync();
        QVERIFY(!laid.layout.knows(0));
        QVERIFY(laid.layout.knows(1));
        laid.dropOldest();
        QVERIFY(laid.layout.isEmpty());
    }

    void aRowHasItsTextAndItsLineBreak() {
        Laid laid({"one\r\n0123456789 0123456789 end"});
        LogLayout &layout = laid.layout;
        const LogRow first = layout.row(0, 0);
        QCOMPARE(first, (LogRow{0, 0, ByteOffset{0}, ByteOffset{3}, ByteOffset{5}}));
        QVERIFY(first.endsLine());
        QCOMPARE(textOf(laid.log, first), QByteArrayView("one"));
        const LogRow second = layout.row(0, 1);
        QCOMPARE(second, (LogRow{0, 1, ByteOffset{5}, ByteOffset{16}, ByteOffset{16}}));
        QVERIFY(!second.endsLine());
        QCOMPARE(layout.row(0, 2), (LogRow{0, 2, ByteOffset{16}, ByteOffset{30}, ByteOffset{30}}));
        for (const auto &[offset, number] :
             {std::pair(0U, 0U), {4U, 0U}, {5U, 1U}, {15U, 1U}, {16U, 2U}, {30U, 2U}, {99U, 2U}})
            QCOMPARE(layout.rowOf(at(0, offset)).number, number);
        QVERIFY(layout.isExact(0));
        // In another width its rows begin elsewhere.
        layout.setGrid(5, 10);
        QCOMPARE(layout.rowOf(at(0, 10)).begin, ByteOffset{10});
    }

    /// A user can scroll through a log of 65 million rows.
    void rowStartsAreKeptForSomeElementsOnly() {
        constexpr std::size_t rows = 65536;
        const QByteArray feeds(rows, '\n');
        Laid laid({feeds, feeds, feeds, feeds, feeds, feeds});
        for (std::uint64_t i = 0; i < 5; ++i) {
            QCOMPARE(laid.layout.row(i, 7).begin, ByteOffset{7});
            QCOMPARE(laid.layout.row(i, 8).begin, ByteOffset{8});
            QCOMPARE(laid.layout.rowStartsKept(), (i + 1) * rows);
        }
        laid.layout.row(5, 0);
        QCOMPARE(laid.layout.rowStartsKept(), rows);
        laid.layout.row(0, 0);
        QCOMPARE(laid.layout.rowStartsKept(), 2 * rows);
        laid.dropOldest();
        QCOMPARE(laid.layout.rowStartsKept(), rows);
        laid.layout.setGrid(10, 10);
        QCOMPARE(laid.layout.rowStartsKept(), 0U);
        QCOMPARE(laid.layout.row(5, 9).begin, ByteOffset{9});
    }
};

TEST_CLASS(LogLayoutTest, NoApplication)
#include "LogLayoutTest.moc"
