#include "CellWidth.h"
#include "LogRows.h"
#include "TestProgram.h"
#include "Utf8.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

using namespace ferrolt;

class LogRowsTest : public QObject {
    Q_OBJECT

  private:
    static QList<QByteArray> rows(const QByteArray &element, int columns) {
        const std::vector<std::uint32_t> starts = rowStarts(element, columns);
        QList<QByteArray> texts;
        for (std::size_t i = 0; i < starts.size(); ++i) {
            const auto next =
                i + 1 < starts.size() ? starts[i + 1] : static_cast<std::uint32_t>(element.size());
            texts.append(element.mid(starts[i], rowTextEnd(element, starts[i], next) - starts[i]));
        }
        return texts;
    }

    static std::uint32_t cells(const QByteArray &text) {
        std::uint32_t sum = 0;
        for (std::size_t at = 0; at < static_cast<std::size_t>(text.size());) {
            const utf8::Character c = utf8::characterAt(text, at);
            sum += static_cast<std::uint32_t>(cellsOf(c.codePoint));
            at += c.length;
        }
        return sum;
    }

  private Q_SLOTS:
    void whatHasNoPictureIsShownAsADot() {
        for (const char32_t c : {0x01U, 0x1FU, 0x7FU, 0x80U, 0x9FU, 0x2028U, 0x2029U, 0xFFFCU})
            QCOMPARE(shownInsteadOf(c), u'\u00B7');
        for (const char32_t c : {0x09U, 0x20U, 0x7EU, 0xA0U, 0x20ACU, 0xFFFDU})
            QCOMPARE(shownInsteadOf(c), char16_t(0));
    }

    void aCharacterTakesTheCellsOfItsWidth() {
        QCOMPARE(cells("\xe1\x84\x80"), 2U);              // a Hangul consonant, U+1100
        QCOMPARE(cells("\xe1\x85\xa0\xe1\x87\xbf"), 0U);  // the vowels and finals behind it, U+1160, U+11FF
        QCOMPARE(cells("\xe2\x83\x9d\xcc\x81"), 0U);      // marks, U+20DD and U+0301
        QCOMPARE(cells("\xef\xbf\xbc\xf4\x8f\xbf\xbd"), 2U);  // a placeholder and the last private character
    }

    void theLineBreakThatEndsAnElementOpensNoEmptyLine() {
        QCOMPARE(rows("one\n", 20), QList<QByteArray>({"one"}));
        QCOMPARE(rows("one\ntwo\n", 20), QList<QByteArray>({"one", "two"}));
        QCOMPARE(rows("one\n\ntwo", 20), QList<QByteArray>({"one", "", "two"}));
        QCOMPARE(rows("\n", 20), QList<QByteArray>({""}));
        QCOMPARE(rows("\n\n", 20), QList<QByteArray>({"", ""}));
    }

    void aLineBreaksAfterTheLastWordThatFits() {
        QCOMPARE(rows("the quick brown fox", 10), QList<QByteArray>({"the quick ", "brown fox"}));
        QCOMPARE(rows("exactly ten", 11), QList<QByteArray>({"exactly ten"}));
    }

    void aSpaceAtTheEdgeHangsOverIt() {
        QCOMPARE(rows("0123456789 next", 10), QList<QByteArray>({"0123456789 ", "next"}));
        QCOMPARE(rows("0123456789 \nnext", 10), QList<QByteArray>({"0123456789 ", "next"}));
        QCOMPARE(rows("0123456789 \r\nnext", 10), QList<QByteArray>({"0123456789 ", "next"}));
        QCOMPARE(rows("0123456789 ", 10), QList<QByteArray>({"0123456789 "}));
    }

    void aWordLongerThanARowIsCut() {
        QCOMPARE(rows("0123456789abcdef", 10), QList<QByteArray>({"0123456789", "abcdef"}));
        QCOMPARE(rows("    0123456789abcdef", 10), QList<QByteArray>({"    012345", "6789abcdef"}));
        QCOMPARE(rows("漢字漢字漢字", 5), QList<QByteArray>({"漢字", "漢字", "漢字"}));
    }

    void aCarriageReturnBeforeALineFeedIsPartOfTheBreak() {
        QCOMPARE(rows("one\r\ntwo\r\n", 10), QList<QByteArray>({"one", "two"}));
        QCOMPARE(rows("0123456789\r\nnext", 10), QList<QByteArray>({"0123456789", "next"}));
        // The line feed that follows the last one may come with the next element.
        QCOMPARE(rows("10%\r20%\r", 10), QList<QByteArray>({"10%\r20%"}));
    }

    void onlyALineFeedBreaksALine() {
        const QByteArray odd("a\rb\fc\vd\x1b[1me\0f\xe2\x80\xa8g\xc2\x85h", 20);
        QCOMPARE(rows(odd, 80).size(), 1);
    }

    void aMarkStaysWithItsCharacter() {
        const QByteArray marked = QByteArray("e\xcc\x81").repeated(12);
        for (const QByteArray &row : rows(marked, 5))
            QCOMPARE(row.at(0), 'e');
        QCOMPARE(rows(marked, 5).size(), 3);
        // A family of three emoji joined by joiners is one character.
        const QByteArray family("\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x91\xa7");
        QCOMPARE(rows("12" + family, 4).size(), 1);
    }

    void aThousandMarksOnOneCharacterDoNotMakeOneEndlessRow() {
        const QByteArray heap = "e" + QByteArray("\xcc\x81").repeated(30000);
        for (const QByteArray &row : rows(heap, 80))
            QVERIFY(row.size() < 80 * 18 * 2);
    }

    /// Also where a row begins with the marks.
    void sixteenMarksTakeNoCellsAndEachFurtherOneTakesOne() {
        for (const char *const base : {"", "e"}) {
            const auto marked = [base](int marks) { return base + QByteArray("\xcc\x81").repeated(marks); };
            const auto cellsOfBase = static_cast<std::uint32_t>(qstrlen(base));
            QCOMPARE(countRows(marked(16), 80).widest, cellsOfBase);
            QCOMPARE(countRows(marked(17), 80).widest, cellsOfBase + 1);
        }
    }

    void aTabReachesTheNextStop() {
        QCOMPARE(rows("a\tb", 9).size(), 1);
        QCOMPARE(rows("a\tbc", 9).size(), 2);
        QCOMPARE(rows("a\tb\tc\td", 100).size(), 1);
        QCOMPARE(countRows("a\tb\tc\td", 100).widest, 25U);
        QVERIFY(rows(QByteArray(100, '\t'), 10).size() < 100);
    }

    void noTextIsLostAndNoRowIsTooLong_data() {
        QTest::addColumn<int>("columns");
        for (const int columns : {1, 2, 7, 40, 200})
            QTest::addRow("%d columns", columns) << columns;
    }

    void noTextIsLostAndNoRowIsTooLong() {
        QFETCH(int, columns);
        const QByteArray bits[] = {"a",
                                   " ",
                                   "word ",
                                   "\n",
                                   "\r\n",
                                   "\r",
                                   "\t",
                                   "\x1b",
                                   "漢",
                                   "é",
                                   "\xcc\x81",
                                   "\xef\xbf\xbd",
                                   "\xe2\x80\x8d",
                                   "\xf0\x9f\x98\x80",
                                   "0123456789abcdef"};
        QRandomGenerator random(7);
        for (int round = 0; round < 300; ++round) {
            QByteArray element;
            const bool plain = round % 2 == 0;
            for (int i = random.bounded(1, 200); i > 0; --i)
                element +=
                    plain ? bits[random.bounded(4)] : bits[random.bounded(static_cast<int>(std::size(bits)))];
            const std::vector<std::uint32_t> starts = rowStarts(element, columns);
            const RowCount counted = countRows(element, columns);
            QCOMPARE(static_cast<std::size_t>(counted.rows), starts.size());
            QCOMPARE(starts.front(), 0U);
            QVERIFY(std::is_sorted(starts.begin(), starts.end(), std::less_equal<>()));
            QVERIFY(starts.back() < static_cast<std::uint32_t>(element.size()));
            for (const std::uint32_t start : starts)
                QVERIFY(!utf8::isContinuation(element[static_cast<qsizetype>(start)]));
            const auto feeds = static_cast<std::uint32_t>(element.count('\n'));
            QCOMPARE(counted.lines, feeds + (element.endsWith('\n') ? 0U : 1U));
            // The width of a tab depends on its column; a joiner makes one character of two.
            if (!element.contains('\t') && !element.contains("\xe2\x80\x8d")) {
                for (const QByteArray &row : rows(element, columns))
                    QVERIFY2(cells(row) <= static_cast<std::uint32_t>(std::max(columns, 2) + 1),
                             row.toHex().constData());
            }
            if (counted.widest <= static_cast<std::uint32_t>(columns))
                QCOMPARE(counted.rows, counted.lines);
            const int widest = std::max(static_cast<int>(counted.widest), 1);
            QCOMPARE(countRows(element, widest).rows, counted.lines);
        }
    }

    /// Text that is all ASCII has rules of its own for speed. The same text after a line that is not breaks
    /// as it does alone.
    void asciiBreaksAsAnyOtherText_data() { noTextIsLostAndNoRowIsTooLong_data(); }
    void asciiBreaksAsAnyOtherText() {
        QFETCH(int, columns);
        const QByteArray bits[] = {"a", " ", "  ", "word ", "\n", " \n", "0123456789abcdef", "0123456"};
        const QByteArray other = "\xc3\xa9\n";
        QRandomGenerator random(11);
        for (int round = 0; round < 300; ++round) {
            QByteArray element;
            for (int i = random.bounded(1, 60); i > 0; --i)
                element += bits[random.bounded(static_cast<int>(std::size(bits)))];
            std::vector<std::uint32_t> starts = rowStarts(other + element, columns);
            starts.erase(starts.begin());
            for (std::uint32_t &start : starts)
                start -= static_cast<std::uint32_t>(other.size());
            QCOMPARE(starts, rowStarts(element, columns));
            const RowCount alone = countRows(element, columns);
            const RowCount after = countRows(other + element, columns);
            QCOMPARE(after.rows, alone.rows + 1);
            QCOMPARE(after.lines, alone.lines + 1);
            QCOMPARE(after.widest, std::max(alone.widest, 1U));
        }
    }

    void wordsOfAnyLanguageStayWhole() {
        QCOMPARE(rows("thé quick brown fox", 10), QList<QByteArray>({"thé quick ", "brown fox"}));
        QCOMPARE(rows("\xc3\xa9\t0123456789", 12), QList<QByteArray>({"\xc3\xa9\t", "0123456789"}));
        QCOMPARE(rows("ab漢字", 3), QList<QByteArray>({"ab", "漢", "字"}));
    }

    void textThatIsNotUtf8IsReadWithinItsBounds() {
        const QByteArray broken[] = {"\x80\x80\x80", "\xe2\x82", "\xf0\x9f", "\xff\xfe", "a\xc3"};
        for (const QByteArray &element : broken)
            QCOMPARE(countRows(element, 80).rows, 1U);
    }
};

TEST_CLASS(LogRowsTest, NoApplication)
#include "LogRowsTest.moc"
