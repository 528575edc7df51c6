#include "LogCaret.h"
#include "LogText.h"
#include "PlaceInLog.h"
#include "TestProgram.h"

#include <QTest>

#include <algorithm>

using namespace ferrolt;

class LogCaretTest : public QObject {
    Q_OBJECT

    using Step = LogCaret::Step;
    using Mode = LogCaret::Mode;

    /// Each byte is 10 pixels wide.
    struct CellMetrics : RowMetrics {
        qreal xOf(const LogRow &row, ByteOffset offset) const override {
            return 10.0 * (count(offset) - count(row.begin));
        }
        LogPosition positionAt(const LogRow &row, qreal x) const override {
            const auto cells = static_cast<std::uint32_t>(x / 10);
            return {row.sequence, byteOffset(std::min(count(row.begin) + cells, count(row.textEnd)))};
        }
    };

    /// 10 pixels a row, 10 cells, 100 pixels of height.
    struct Seen {
        explicit Seen(const QList<QByteArray> &elements)
            : layout(log), view(layout), selection(log), caret(layout, view, selection, metrics) {
            view.setGrid(10, 10);
            view.setHeight(100);
            for (const QByteArray &element : elements)
                log.append(element);
            view.sync(LogViewport::Hold::Offset, std::size_t{1} << 20);
        }
        LogPosition forward(Step step, Mode mode = Mode::Move) {
            caret.move({step, Direction::Forward, mode});
            return selection.caret();
        }
        LogPosition back(Step step, Mode mode = Mode::Move) {
            caret.move({step, Direction::Backward, mode});
            return selection.caret();
        }

        LogBuffer log;
        LogLayout layout;
        LogViewport view;
        LogSelection selection;
        CellMetrics metrics;
        LogCaret caret;
    };

    /// One element of so many rows of two cells and a line feed: row n begins at byte 3n and 16 + 10n pixels
    /// from the top.
    static QByteArray rows(int count) { return QByteArray("ab\n").repeated(count); }

  private Q_SLOTS:
    void itGoesByCharactersAndWords() {
        Seen seen({"one two\n", "three\n"});
        QCOMPARE(seen.forward(Step::Character), at(0, 1));
        QCOMPARE(seen.back(Step::Character), at(0, 0));
        QCOMPARE(seen.forward(Step::Word), at(0, 4));
        QCOMPARE(seen.forward(Step::Word), at(1, 0));
        QCOMPARE(seen.back(Step::Word), at(0, 4));
    }

    void itGoesToTheEdgesOfARowAndOfTheLog() {
        Seen seen({"one\n", "a line of three rows of cells\n", "end"});
        seen.selection.begin(at(1, 13));
        QCOMPARE(seen.forward(Step::RowEdge), at(1, 21));
        seen.selection.begin(at(1, 13));
        QCOMPARE(seen.back(Step::RowEdge), at(1, 10));
        QCOMPARE(seen.back(Step::LogEdge), at(0, 0));
        QCOMPARE(seen.forward(Step::RowEdge), at(0, 3));  // before the line feed
        QCOMPARE(seen.forward(Step::LogEdge), at(2, 3));
    }

    void itGoesThroughTheRowsOfOneElementAndIntoTheNext() {
        Seen seen({"a line of three rows of cells\n", "end\n"});
        QCOMPARE(seen.layout.rowCount(0), 3U);
        QCOMPARE(seen.forward(Step::Row), at(0, 10));
        QCOMPARE(seen.forward(Step::Row), at(0, 21));
        QCOMPARE(seen.forward(Step::Row), at(1, 0));
        QCOMPARE(seen.back(Step::Row), at(0, 21));
        QCOMPARE(seen.back(Step::Row), at(0, 10));
        QCOMPARE(seen.back(Step::Row), at(0, 0));
        seen.caret.hide();
        seen.selection.begin(at(0, 12));
        QCOMPARE(seen.back(Step::Row), at(0, 2));
    }

    void aboveTheFirstRowIsTheBeginningAndBelowTheLastTheEnd() {
        Seen seen({"one\n", "two\n"});
        seen.selection.begin(at(0, 2));
        QCOMPARE(seen.back(Step::Row), at(0, 0));
        seen.selection.begin(at(1, 2));
        QCOMPARE(seen.forward(Step::Row), at(1, 4));
        seen.log.takeFirst();
        seen.view.sync(LogViewport::Hold::Offset, 0);
        seen.selection.begin(at(1, 2));
        QCOMPARE(seen.back(Step::Row), at(1, 0));
    }

    void rowsKeepTheColumnOfTheFirst() {
        Seen seen({"0123456\n", "ab\n", "0123456\n", "0123456\n"});
        seen.selection.begin(at(0, 5));
        QCOMPARE(seen.forward(Step::Row), at(1, 2));
        QCOMPARE(seen.forward(Step::Page), at(3, 8));
        QCOMPARE(seen.back(Step::Row), at(2, 5));
        QCOMPARE(seen.back(Step::Row), at(1, 2));
        QCOMPARE(seen.back(Step::Row), at(0, 5));
    }

    void everyOtherMoveAndTheMouseForgetTheColumn() {
        const auto columnAfter = [](const auto &move) {
            Seen seen({"0123456\n", "ab\n", "0123456\n"});
            seen.selection.begin(at(0, 5));
            seen.forward(Step::Row);
            move(seen);
            return seen.forward(Step::Row);
        };
        QCOMPARE(columnAfter([](Seen &) {}), at(2, 5));
        QCOMPARE(columnAfter([](Seen &seen) { seen.back(Step::Character); }), at(2, 1));
        QCOMPARE(columnAfter([](Seen &seen) { seen.back(Step::RowEdge); }), at(2, 0));
        QCOMPARE(columnAfter([](Seen &seen) { seen.caret.hide(); }), at(2, 2));
    }

    /// From behind a line feed, where no further row begins, the column is the one before it.
    void theEndOfTheLogHasTheColumnOfItsLastCharacter() {
        Seen seen({"0123456\n", "ab\n"});
        seen.selection.begin(at(1, 3));
        QCOMPARE(seen.back(Step::Row), at(0, 2));
    }

    void aPageIsOneRowLessThanTheScreen() {
        Seen seen({rows(100)});
        seen.view.setHeight(59);
        QCOMPARE(seen.forward(Step::Page), at(0, 3 * 4));
        QCOMPARE(seen.forward(Step::Page), at(0, 3 * 8));
        seen.view.scrollTo(40);
        QCOMPARE(seen.back(Step::Page), at(0, 3 * 4));
        seen.view.setHeight(12);  // not even two rows
        seen.view.scrollTo(16 + 40);
        QCOMPARE(seen.forward(Step::Page), at(0, 3 * 5));
    }

    void itExtendsTheSelectionOrDropsIt() {
        Seen seen({"one two three\n"});
        seen.forward(Step::Word);
        seen.forward(Step::Word, Mode::Extend);
        QCOMPARE(seen.selection.span(), (LogSpan{at(0, 4), at(0, 8)}));
        seen.back(Step::LogEdge, Mode::Extend);
        QCOMPARE(seen.selection.span(), (LogSpan{at(0, 0), at(0, 4)}));
        seen.forward(Step::Character);
        QVERIFY(seen.selection.isEmpty());
        QCOMPARE(seen.selection.caret(), at(0, 1));
    }

    void offScreenItStartsFromTheEdgeOfTheScreen() {
        Seen seen({rows(100)});
        // The last pixel of row 20 is at the top edge, the first of row 30 at the bottom edge.
        seen.view.setHeight(92);
        seen.view.scrollTo(16 + 209);
        QCOMPARE(seen.forward(Step::Character), at(0, 3 * 20 + 1));
        seen.selection.begin(at(0, 0));
        QCOMPARE(seen.back(Step::Character), at(0, 3 * 30 + 1));
        seen.view.setHeight(101);  // and now the last
        seen.selection.begin(at(0, 0));
        QCOMPARE(seen.back(Step::Character), at(0, 3 * 30 + 1));
        seen.selection.begin(at(0, 3 * 50 + 1));
        QCOMPARE(seen.forward(Step::Row), at(0, 3 * 21));
        // Nor does it remember a column.
        seen.view.scrollTo(16 + 400);
        QCOMPARE(seen.back(Step::Row), at(0, 3 * 49 + 2));
    }

    void whereAPixelOfItIsOnScreenItStartsFromItself() {
        Seen seen({rows(100)});
        seen.view.setHeight(92);
        seen.view.scrollTo(16 + 209);
        for (const std::uint32_t row : {20U, 25U, 30U}) {
            seen.selection.begin(at(0, 3 * row));
            QCOMPARE(seen.back(Step::Character), at(0, 3 * row - 1));
        }
        // One pixel further up or down, and it is not.
        seen.view.scrollTo(16 + 210);
        seen.selection.begin(at(0, 3 * 20));
        QCOMPARE(seen.back(Step::Character), at(0, 3 * 30 + 1));
        seen.view.scrollTo(16 + 208);
        seen.selection.begin(at(0, 3 * 30));
        QCOMPARE(seen.forward(Step::Character), at(0, 3 * 20 + 1));
    }

    void aSelectionOffScreenIsExtendedFromItself() {
        Seen seen({rows(100)});
        seen.view.scrollTo(16 + 300);
        seen.selection.select({at(0, 1), at(0, 2)});
        seen.forward(Step::Character, Mode::Extend);
        QCOMPARE(seen.selection.span(), (LogSpan{at(0, 1), at(0, 3)}));
        // And so is a caret by the whole rest of the log.
        seen.selection.begin(at(0, 1));
        seen.forward(Step::LogEdge, Mode::Extend);
        QCOMPARE(seen.selection.span(), (LogSpan{at(0, 1), at(0, 300)}));
    }

    void itStartsFromTheOldestTextWhenItsOwnWasDropped() {
        Seen seen({"one\n", "two\n", "three\n"});
        seen.forward(Step::Character);
        seen.log.takeFirst();
        seen.view.sync(LogViewport::Hold::Offset, 0);
        QCOMPARE(seen.forward(Step::Character), at(1, 1));
    }

    void itIsShownOnceItWasMovedAndUntilTheMouseSetsIt() {
        Seen seen({"one\n"});
        QVERIFY(!seen.caret.isShown());
        seen.forward(Step::Character);
        QVERIFY(seen.caret.isShown());
        seen.caret.hide();
        QVERIFY(!seen.caret.isShown());
    }
};

TEST_CLASS(LogCaretTest, NoApplication)
#include "LogCaretTest.moc"
