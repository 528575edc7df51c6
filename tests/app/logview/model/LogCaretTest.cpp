#include "LogCaret.h"
#include "LogText.h"
#include "PlaceInLog.h"
#include "TestProgram.h"

#include <QTest>

#include <algorithm>
#include <cmath>

using namespace ferrolt;

namespace {

/// Every byte is a character, seven pixels wide.
class SevenPixels : public RowMetrics {
  public:
    qreal xOf(const LogRow &row, ByteOffset offset) const override {
        return 7.0 * (count(offset) - count(row.begin));
    }
    LogPosition positionAt(const LogRow &row, qreal x) const override {
        const auto bytes = count(row.begin) + static_cast<std::size_t>(std::lround(x / 7.0));
        return {row.sequence, std::min(byteOffset(bytes), row.textEnd)};
    }
};

}  // namespace

class LogCaretTest : public QObject {
    Q_OBJECT

    using Step = LogCaret::Step;

    /// Ten columns, rows of ten pixels, and a view of 100 pixels.
    struct Seen {
        explicit Seen(const QList<QByteArray> &elements) : layout(log), view(layout), selection(log) {
            for (const QByteArray &element : elements)
                log.append(element);
            view.setGrid(10, 10);
            view.setHeight(100);
            view.sync(LogViewport::Hold::Offset, 1000);
        }
        LogPosition moved(Step step, Direction direction, LogCaret::Mode mode = LogCaret::Mode::Move) {
            caret.move({step, direction, mode});
            return selection.caret();
        }
        LogPosition forward(Step step) { return moved(step, Direction::Forward); }
        LogPosition backward(Step step) { return moved(step, Direction::Backward); }

        LogBuffer log;
        LogLayout layout;
        LogViewport view;
        LogSelection selection;
        SevenPixels metrics;
        LogCaret caret{layout, view, selection, metrics};
    };

  private Q_SLOTS:
    void itMovesByCharactersAndWordsAcrossElements() {
        Seen seen({"one two\n", "three\n"});
        QCOMPARE(seen.forward(Step::Word), at(0, 4));
        QCOMPARE(seen.forward(Step::Character), at(0, 5));
        QCOMPARE(seen.forward(Step::Word), at(1, 0));
        QCOMPARE(seen.backward(Step::Character), at(0, 7));
        QCOMPARE(seen.backward(Step::Word), at(0, 4));
        QVERIFY(seen.selection.isEmpty());
    }

    void itMovesByRowsWithinAnElementAndAcross() {
        Seen seen({"0123456789abcdefghij\n", "x\n", "0123456789\n"});  // two rows, one, one
        seen.selection.begin(at(0, 4));
        QCOMPARE(seen.forward(Step::Row), at(0, 14));
        QCOMPARE(seen.forward(Step::Row), at(1, 1));  // the row is too short
        QCOMPARE(seen.forward(Step::Row), at(2, 4));  // the column is kept
        QCOMPARE(seen.forward(Step::Row), LogText::end(seen.log));
        QCOMPARE(seen.backward(Step::Row), at(1, 1));
        QCOMPARE(seen.backward(Step::Row), at(0, 14));
        QCOMPARE(seen.backward(Step::Row), at(0, 4));
        QCOMPARE(seen.backward(Step::Row), at(0, 0));
    }

    void aMoveToTheSideBeginsANewColumn() {
        Seen seen({"0123456789\n", "x\n", "0123456789\n"});
        seen.selection.begin(at(0, 4));
        QCOMPARE(seen.forward(Step::Row), at(1, 1));
        QCOMPARE(seen.backward(Step::Character), at(1, 0));
        QCOMPARE(seen.forward(Step::Row), at(2, 0));
    }

    void itMovesToTheEdgesOfItsRowAndOfTheLog() {
        Seen seen({"0123456789abcdefghij\n", "end"});
        seen.selection.begin(at(0, 14));
        QCOMPARE(seen.backward(Step::RowEdge), at(0, 10));
        QCOMPARE(seen.forward(Step::RowEdge), at(0, 20));
        QCOMPARE(seen.forward(Step::LogEdge), at(1, 3));
        QCOMPARE(seen.backward(Step::LogEdge), at(0, 0));
    }

    void aPageIsARowLessThanTheViewShows() {
        Seen seen(QList<QByteArray>(30, "line\n"));
        QCOMPARE(seen.forward(Step::Page), at(9, 0));
        QCOMPARE(seen.backward(Step::Page), at(0, 0));
    }

    void extendingKeepsWhereTheSelectionBegan() {
        Seen seen({"one two\n"});
        seen.selection.begin(at(0, 4));
        seen.moved(Step::Word, Direction::Backward, LogCaret::Mode::Extend);
        QCOMPARE(seen.selection.span(), (LogSpan{at(0, 0), at(0, 4)}));
        seen.moved(Step::RowEdge, Direction::Forward, LogCaret::Mode::Extend);
        QCOMPARE(seen.selection.span(), (LogSpan{at(0, 4), at(0, 7)}));
    }

    /// The reader moves what they look at, not a caret that they cannot see.
    void offScreenItStartsFromTheEdgeOfTheScreen() {
        Seen seen(QList<QByteArray>(300, "line\n"));
        seen.view.scrollTo(seen.view.maximum() / 2);
        const std::uint64_t top = seen.view.rowAt(0)->sequence;
        const std::uint64_t bottom = seen.view.rowAt(99)->sequence;
        QVERIFY(top > 0 && bottom > top);
        QCOMPARE(seen.forward(Step::Character), at(top, 1));
        seen.selection.begin(at(299, 0));
        QCOMPARE(seen.backward(Step::Character), at(bottom, 3));
        seen.selection.begin(at(299, 0));
        QCOMPARE(seen.backward(Step::LogEdge), at(0, 0));
    }

    void itIsShownFromItsFirstMoveUntilTheMouseSetsIt() {
        Seen seen({"text\n"});
        QVERIFY(!seen.caret.isShown());
        seen.forward(Step::Character);
        QVERIFY(seen.caret.isShown());
        seen.caret.hide();
        QVERIFY(!seen.caret.isShown());
    }
};

TEST_CLASS(LogCaretTest, QCoreApplication)
#include "LogCaretTest.moc"
