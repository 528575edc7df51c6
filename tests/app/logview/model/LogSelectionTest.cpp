#include "LogSelection.h"
#include "LogText.h"
#include "PlaceInLog.h"
#include "TestProgram.h"
#include "TextOfLog.h"

#include <QTest>

using namespace ferrolt;

class LogSelectionTest : public QObject {
    Q_OBJECT

    using Unit = LogSelection::Unit;

  private Q_SLOTS:
    void itBeginsWithNothingAWordOrALine() {
        const LogBuffer log = logOf({"alpha beta\n", "gamma delta\n"});
        LogSelection selection(log);
        QVERIFY(selection.isEmpty());
        selection.begin(at(1, 7));
        QVERIFY(selection.isEmpty());
        QCOMPARE(selection.caret(), at(1, 7));
        selection.begin(at(1, 7), Unit::Word);
        QCOMPARE(text(log, selection.span()), "delta");
        QCOMPARE(selection.caret(), at(1, 11));
        selection.begin(at(1, 7), Unit::Line);
        QCOMPARE(text(log, selection.span()), "gamma delta\n");
        selection.extendTo(at(0, 7));
        QCOMPARE(text(log, selection.span()), "alpha beta\ngamma delta\n");
    }

    /// The caret is at the end that follows the mouse.
    void theCaretIsAtTheEndThatMoves() {
        const LogBuffer log = logOf({"alpha beta gamma\n"});
        LogSelection selection(log);
        selection.begin(at(0, 8));
        selection.extendTo(at(0, 3));
        QCOMPARE(selection.caret(), at(0, 3));
        selection.extendTo(at(0, 12));
        QCOMPARE(selection.span(), (LogSpan{at(0, 8), at(0, 12)}));
        QCOMPARE(selection.caret(), at(0, 12));
        // Within the word with which the selection began, that is its end.
        selection.begin(at(0, 8), Unit::Word);
        selection.extendTo(at(0, 7));
        QCOMPARE(selection.caret(), at(0, 10));
    }

    void theEndAtTheCaretMovesAndTheOtherStays() {
        const LogBuffer log = logOf({"alpha beta gamma\n"});
        LogSelection selection(log);
        selection.select({at(0, 6), at(0, 10)});
        QCOMPARE(selection.caret(), at(0, 10));
        selection.moveEndTo(at(0, 12));
        QCOMPARE(selection.span(), (LogSpan{at(0, 6), at(0, 12)}));
        selection.moveEndTo(at(0, 2));
        QCOMPARE(selection.span(), (LogSpan{at(0, 2), at(0, 6)}));
        selection.moveEndTo(at(0, 4));
        QCOMPARE(selection.span(), (LogSpan{at(0, 4), at(0, 6)}));
    }

    /// As Shift and a click do after Select All or a search.
    void aSpanIsExtendedFromItsBeginningByCharacters() {
        const LogBuffer log = logOf({"alpha beta gamma\n"});
        LogSelection selection(log);
        selection.begin(at(0, 1), Unit::Line);
        selection.select({at(0, 6), at(0, 10)});
        selection.extendTo(at(0, 12));
        QCOMPARE(selection.span(), (LogSpan{at(0, 6), at(0, 12)}));
        selection.extendTo(at(0, 2));
        QCOMPARE(selection.span(), (LogSpan{at(0, 2), at(0, 6)}));
    }

    /// The end of an element and the beginning of the next are one place in the text.
    void betweenTwoElementsNothingIsSelected() {
        const LogBuffer log = logOf({"one\n", "two\n"});
        LogSelection selection(log);
        selection.begin(at(0, 4));
        selection.extendTo(at(1, 0));
        QVERIFY(selection.isEmpty());
        QCOMPARE(selection.caret(), at(1, 0));
        selection.extendTo(at(1, 1));
        QCOMPARE(text(log, selection.span()), "t");
        selection.select({at(0, 4), at(1, 0)});
        QVERIFY(selection.isEmpty());
        QCOMPARE(selection.span(), (LogSpan{at(1, 0), at(1, 0)}));
        selection.select({at(0, 3), at(1, 0)});
        QCOMPARE(text(log, selection.span()), "\n");
    }

    void onlyAChangeOfTheSelectedTextIsReported() {
        LogBuffer log = logOf({"one\n", "two\n"});
        LogSelection selection(log);
        selection.begin(at(0, 1));
        log.takeFirst();
        QVERIFY(!selection.sync());
        QCOMPARE(selection.caret(), at(1, 0));
        selection.select({at(1, 0), at(1, 2)});
        log.append("three\n");
        QVERIFY(!selection.sync());
        log.takeFirst();
        QVERIFY(selection.sync());
        QVERIFY(!selection.sync());
    }

    void inAnEmptyLogNothingChanges() {
        LogBuffer log;
        LogSelection selection(log);
        QVERIFY(!selection.sync());
        log.append("one\n");
        selection.select({at(0, 0), at(0, 2)});
        log.takeFirst();
        QVERIFY(!selection.sync());
    }

    void itsOriginFollowsTheLogToo() {
        LogBuffer log = logOf({"one\n", "two\n", "three\n"});
        LogSelection selection(log);
        selection.begin(at(0, 1));
        selection.extendTo(at(2, 2));
        log.takeFirst();
        QVERIFY(selection.sync());
        selection.extendTo(at(2, 3));
        QCOMPARE(selection.span(), (LogSpan{at(1, 0), at(2, 3)}));
    }

    void aSelectionStaysOnItsTextWhileElementsDrop() {
        LogBuffer log = logOf({"one\n", "two\n", "three\n", "four\n"});
        LogSelection selection(log);
        selection.begin(at(1, 1));
        selection.extendTo(at(2, 2));
        QCOMPARE(text(log, selection.span()), "wo\nth");
        log.takeFirst();
        QVERIFY(!selection.sync());
        QCOMPARE(text(log, selection.span()), "wo\nth");
        log.takeFirst();
        QVERIFY(selection.sync());
        QCOMPARE(text(log, selection.span()), "th");
        log.takeFirst();
        selection.sync();
        QVERIFY(selection.isEmpty());
    }

    void aSelectionGrowsByTheUnitItWasBegunWith() {
        const LogBuffer log = logOf({"alpha beta gamma delta\n"});
        LogSelection selection(log);
        selection.begin(at(0, 7), LogSelection::Unit::Word);
        QCOMPARE(text(log, selection.span()), "beta");
        selection.extendTo(at(0, 13));
        QCOMPARE(text(log, selection.span()), "beta gamma");
        selection.extendTo(at(0, 2));
        QCOMPARE(text(log, selection.span()), "alpha beta");
        selection.moveEndTo(at(0, 4));
        QCOMPARE(text(log, selection.span()), "a beta");
    }
};

TEST_CLASS(LogSelectionTest, NoApplication)
#include "LogSelectionTest.moc"
