#include "LogText.h"
#include "PlaceInLog.h"
#include "TestProgram.h"
#include "TextOfLog.h"

#include <QTest>

using namespace ferrolt;

class LogTextTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aSpanOverElementsIsTheirTextWithNothingBetween() {
        const LogBuffer log = logOf({"one\n", "tw", "o\n"});
        QCOMPARE(text(log, {at(0, 1), at(2, 1)}), "ne\ntwo");
        QCOMPARE(text(log, LogText::whole(log)), "one\ntwo\n");
        QCOMPARE(text(log, {at(1, 1), at(1, 1)}), "");
    }

    void theFirstLineOfASpanIsTheFirstWithText() {
        const LogBuffer log = logOf({"one\r\n", "\ntw", "o", " three\nfour\n"});
        const auto line = [&](LogPosition from, qsizetype maxBytes = 100) {
            return LogText::firstLine(log, {from, LogText::end(log)}, maxBytes);
        };
        QCOMPARE(line(at(0, 0)), "one");
        QCOMPARE(line(at(0, 3)), "two three");  // joined, as it is stored
        QCOMPARE(line(at(3, 7)), "four");
        QCOMPARE(line(at(3, 11)), "");
        QCOMPARE(LogText::firstLine(log, {at(1, 2), at(3, 3)}, 100), "wo th");
        // At most so many bytes, and whole characters.
        QCOMPARE(line(at(1, 1), 4), "two ");
        const LogBuffer wide = logOf({"a\xc3\xa9", "\xc3\xa9 b"});
        for (const auto &[maxBytes, text] : {std::pair(1, "a"), std::pair(2, "a"), std::pair(3, "a\xc3\xa9"),
                                             std::pair(5, "a\xc3\xa9\xc3\xa9")})
            QCOMPARE(LogText::firstLine(wide, LogText::whole(wide), maxBytes), text);
    }

    void wholeElementsAreNotCopied() {
        const LogBuffer log = logOf({"first element", "second element"});
        const auto pieces = LogText::pieces(log, LogText::whole(log));
        QCOMPARE(static_cast<const void *>(pieces[0].constData()),
                 static_cast<const void *>(log.at(0).constData()));
    }

    void aCharacterIsALetterWithItsMarks() {
        const LogBuffer log = logOf({"e\xcc\x81x\r\n", "\xf0\x9f\x98\x80"});
        QCOMPARE(LogText::nextCharacter(log, at(0, 0)), at(0, 3));
        QCOMPARE(LogText::nextCharacter(log, at(0, 3)), at(0, 4));
        QCOMPARE(LogText::nextCharacter(log, at(0, 4)), at(1, 0));
        QCOMPARE(LogText::nextCharacter(log, at(1, 0)), at(1, 4));
        QCOMPARE(LogText::nextCharacter(log, at(1, 4)), at(1, 4));
        QCOMPARE(LogText::previousCharacter(log, at(1, 4)), at(1, 0));
        QCOMPARE(LogText::previousCharacter(log, at(1, 0)), at(0, 4));
        QCOMPARE(LogText::previousCharacter(log, at(0, 4)), at(0, 3));
        QCOMPARE(LogText::previousCharacter(log, at(0, 3)), at(0, 0));
        QCOMPARE(LogText::previousCharacter(log, at(0, 0)), at(0, 0));
    }

    void everyCharacterOfALongElementIsReached() {
        const QByteArray unit("a\xc3\xa9\xe6\xbc\xa2 ");
        const LogBuffer log = logOf({unit.repeated(400), unit});
        LogPosition place = LogText::begin(log);
        int steps = 0;
        for (; place != LogText::end(log) && steps < 10000; ++steps)
            place = LogText::nextCharacter(log, place);
        QCOMPARE(steps, 401 * 4);
        for (; place != LogText::begin(log) && steps > -10000; --steps)
            place = LogText::previousCharacter(log, place);
        QCOMPARE(steps, 0);
    }

    void aByteOrderMarkIsACharacterLikeAnyOther() {
        const LogBuffer log = logOf({"\xef\xbb\xbfhello you", "\xef\xbb\xbf"});
        QCOMPARE(LogText::nextCharacter(log, at(0, 0)), at(0, 3));
        QCOMPARE(LogText::nextCharacter(log, at(0, 3)), at(0, 4));
        QCOMPARE(LogText::previousCharacter(log, at(0, 3)), at(0, 0));
        QCOMPARE(LogText::nextCharacter(log, at(1, 0)), at(1, 3));
        QCOMPARE(text(log, LogText::wordAt(log, at(0, 10))), "you");
        QVERIFY(text(log, LogText::wordAt(log, at(0, 5))).endsWith("hello"));
    }

    void wordsAreFoundAcrossElements() {
        const LogBuffer log = logOf({"port 9877 open\n", "next"});
        QCOMPARE(LogText::nextWord(log, at(0, 0)), at(0, 5));
        QCOMPARE(LogText::nextWord(log, at(0, 10)), at(1, 0));
        QCOMPARE(LogText::previousWord(log, at(1, 0)), at(0, 10));
        QCOMPARE(LogText::previousWord(log, at(0, 7)), at(0, 5));
        QCOMPARE(text(log, LogText::wordAt(log, at(0, 6))), "9877");
        QCOMPARE(text(log, LogText::wordAt(log, at(0, 14))), "open");
        QCOMPARE(text(log, LogText::wordAt(log, at(1, 4))), "next");
        QCOMPARE(text(log, LogText::wordAt(log, at(0, 4))), " ");
    }

    void atTheEdgesOfTheLogThereIsNoFurtherWord() {
        const LogBuffer log = logOf({"  one", "two "});
        QCOMPARE(LogText::nextWord(log, at(1, 0)), at(1, 4));
        QCOMPARE(LogText::nextWord(log, at(1, 4)), at(1, 4));
        QCOMPARE(LogText::previousWord(log, at(0, 2)), at(0, 0));
        QCOMPARE(LogText::previousWord(log, at(0, 0)), at(0, 0));
    }

    void anEmptyLineOrElementHasNoWord() {
        const LogBuffer log = logOf({"a\n\nb", ""});
        QCOMPARE(LogText::wordAt(log, at(0, 2)), (LogSpan{at(0, 2), at(0, 3)}));  // the break itself
        QVERIFY(LogText::wordAt(log, at(1, 0)).isEmpty());
        QVERIFY(LogText::lineAt(log, at(1, 0)).isEmpty());
        QCOMPARE(text(log, LogText::lineAt(log, at(0, 0))), "a\n");
    }

    void placesThatTheLogNoLongerHoldsAreMovedToItsEdges() {
        LogBuffer log = logOf({"one", "two", "three"});
        log.takeFirst();
        QCOMPARE(LogText::clamped(log, at(0, 2)), at(1, 0));
        QCOMPARE(LogText::clamped(log, at(1, 9)), at(1, 3));
        QCOMPARE(LogText::clamped(log, at(7, 1)), at(2, 5));
        QVERIFY(!LogText::isEmpty(log, {at(0, 1), at(0, 2)}));
        QVERIFY(LogText::isEmpty(log, {at(1, 3), at(2, 0)}));
        QVERIFY(LogText::isEmpty(log, {at(1, 3), at(1, 3)}));
        QCOMPARE(text(log, {at(1, 1), at(7, 1)}), "wothree");
    }

    void anAddressIsOneWord() {
        const LogBuffer log = logOf({"listening on 127.0.0.1 now"});
        QCOMPARE(text(log, LogText::wordAt(log, at(0, 15))), "127.0.0.1");
    }

    void pastTheEndOfALineLiesItsLastWord() {
        for (const QByteArray &end : {QByteArray(), QByteArray("\n"), QByteArray("\r\n"), QByteArray("\r")}) {
            const LogBuffer log = logOf({"two words" + end});
            QCOMPARE(text(log, LogText::wordAt(log, at(0, 9))), "words");
        }
        const LogBuffer log = logOf({"two words\r\nand more\r\n"});
        QCOMPARE(text(log, LogText::wordAt(log, at(0, 9))), "words");
        QCOMPARE(text(log, LogText::wordAt(log, at(0, 19))), "more");
    }

    void aLineIncludesItsBreakAndStaysInItsElement() {
        const LogBuffer log = logOf({"a\nbc\nd", "e\n"});
        QCOMPARE(text(log, LogText::lineAt(log, at(0, 3))), "bc\n");
        QCOMPARE(text(log, LogText::lineAt(log, at(0, 4))), "bc\n");
        QCOMPARE(text(log, LogText::lineAt(log, at(0, 6))), "d");
        QCOMPARE(text(log, LogText::lineAt(log, at(1, 2))), "e\n");
    }

    void aPlaceInDroppedTextIsTheNearestThatIsLeft() {
        LogBuffer log = logOf({"one\n", "two\n", "three\n"});
        log.takeFirst();
        QCOMPARE(LogText::begin(log), at(1, 0));
        QCOMPARE(LogText::end(log), at(2, 6));
        QCOMPARE(LogText::clamped(log, at(0, 2)), at(1, 0));
        QCOMPARE(LogText::clamped(log, at(1, 2)), at(1, 2));
        QCOMPARE(LogText::clamped(log, at(1, 9)), at(1, 4));
        QCOMPARE(LogText::clamped(log, at(2, 6)), at(2, 6));
        QCOMPARE(LogText::clamped(log, at(3, 0)), at(2, 6));
    }

    void droppedElementsAreLeftOut() {
        LogBuffer log = logOf({"one\n", "two\n", "three\n"});
        log.takeFirst();
        QCOMPARE(text(log, {at(0, 1), at(1, 1)}), "t");
        QCOMPARE(text(log, {at(0, 1), at(0, 3)}), "");
        QCOMPARE(text(log, {at(2, 1), at(7, 3)}), "hree\n");
        QCOMPARE(LogText::firstLine(log, {at(0, 1), at(2, 3)}, 100), "two");
    }

    void betweenTwoElementsThereIsNoText() {
        LogBuffer log = logOf({"one\n", "two\n"});
        QVERIFY(LogText::isEmpty(log, {at(0, 1), at(0, 1)}));
        QVERIFY(LogText::isEmpty(log, {at(0, 4), at(1, 0)}));
        QVERIFY(LogText::isEmpty(log, {at(1, 4), at(1, 4)}));
        QVERIFY(!LogText::isEmpty(log, {at(0, 4), at(1, 1)}));
        QVERIFY(!LogText::isEmpty(log, {at(0, 3), at(1, 0)}));
        QVERIFY(!LogText::isEmpty(log, {at(1, 3), at(1, 4)}));
        log.takeFirst();
        QVERIFY(!LogText::isEmpty(log, {at(0, 4), at(1, 1)}));  // without a look at the dropped element
    }

    /// A run of spaces, or a word that more spaces or an end follow.
    void aRunOfSpacesIsOneWord() {
        const LogBuffer log = logOf({"a   b c\n", "  x"});
        for (const std::uint32_t place : {1U, 2U, 3U})
            QCOMPARE(LogText::wordAt(log, at(0, place)), (LogSpan{at(0, 1), at(0, 4)}));
        QCOMPARE(LogText::wordAt(log, at(0, 0)), (LogSpan{at(0, 0), at(0, 1)}));
        QCOMPARE(LogText::wordAt(log, at(0, 4)), (LogSpan{at(0, 4), at(0, 5)}));
        QCOMPARE(LogText::wordAt(log, at(1, 1)), (LogSpan{at(1, 0), at(1, 2)}));
        const LogBuffer spaces = logOf({"    "});
        QCOMPARE(LogText::wordAt(spaces, at(0, 2)), (LogSpan{at(0, 0), at(0, 4)}));
        QCOMPARE(LogText::wordAt(spaces, at(0, 4)), (LogSpan{at(0, 0), at(0, 4)}));
        QCOMPARE(LogText::nextWord(log, at(0, 0)), at(0, 4));
        QCOMPARE(LogText::previousWord(log, at(0, 4)), at(0, 0));
        QCOMPARE(LogText::previousWord(log, at(1, 2)), at(1, 0));
        QCOMPARE(LogText::nextWord(spaces, at(0, 0)), at(0, 4));
    }

    void atTheEndsOfTheLogThereIsNoFurtherWord() {
        const LogBuffer log = logOf({"one", "two"});
        QCOMPARE(LogText::nextWord(log, at(1, 0)), at(1, 3));
        QCOMPARE(LogText::nextWord(log, at(1, 3)), at(1, 3));
        QCOMPARE(LogText::nextWord(log, at(0, 3)),
                 at(1, 3));  // the end of the first is the beginning of the second
        QCOMPARE(LogText::previousWord(log, at(0, 0)), at(0, 0));
        QCOMPARE(LogText::previousWord(log, at(0, 2)), at(0, 0));
    }

    /// Only so much text around a position is read.
    void aWordOfManyKilobytesIsCut() {
        const LogBuffer log = logOf({"x " + QByteArray(5000, 'a')});
        QCOMPARE(LogText::wordAt(log, at(0, 2)), (LogSpan{at(0, 2), at(0, 2 + 512)}));
        QCOMPARE(LogText::wordAt(log, at(0, 2000)), (LogSpan{at(0, 2000 - 512), at(0, 2000 + 512)}));
        QCOMPARE(LogText::nextWord(log, at(0, 2000)), at(0, 2000 + 512));
        QCOMPARE(LogText::previousWord(log, at(0, 2000)), at(0, 2000 - 512));
        QCOMPARE(LogText::previousWord(log, at(0, 514)), at(0, 2));
    }

    void anEmptyLineIsAWordOfItsLineBreak() {
        const LogBuffer log = logOf({"a\n\nb\n"});
        QCOMPARE(LogText::wordAt(log, at(0, 2)), (LogSpan{at(0, 2), at(0, 3)}));
        QCOMPARE(LogText::wordAt(log, at(0, 1)), (LogSpan{at(0, 0), at(0, 1)}));
        QCOMPARE(LogText::lineAt(log, at(0, 2)), (LogSpan{at(0, 2), at(0, 3)}));
        QCOMPARE(LogText::lineAt(log, at(0, 0)), (LogSpan{at(0, 0), at(0, 2)}));
        const LogBuffer emptyFirst = logOf({"\na\n"});
        QCOMPARE(LogText::lineAt(emptyFirst, at(0, 0)), (LogSpan{at(0, 0), at(0, 1)}));
    }

    void everyCharacterThatEndsALineEndsTheFirst() {
        for (const char *feed : {"\n", "\v", "\f", "\r"}) {
            const LogBuffer log = logOf({feed, QByteArray("one") + feed + "two"});
            QCOMPARE(LogText::firstLine(log, LogText::whole(log), 100), "one");
        }
        for (const char *other : {"\t", "\x0e"}) {
            const LogBuffer log = logOf({QByteArray("one") + other + "two"});
            QCOMPARE(LogText::firstLine(log, LogText::whole(log), 100), log.at(0));
        }
    }
};

TEST_CLASS(LogTextTest, NoApplication)
#include "LogTextTest.moc"
