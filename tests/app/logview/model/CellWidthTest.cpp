#include "CellWidth.h"
#include "TestProgram.h"

#include <QTest>

using namespace ferrolt;

class CellWidthTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aCharacterTakesAsManyCellsAsItsShape_data() {
        QTest::addColumn<char32_t>("codePoint");
        QTest::addColumn<int>("cells");
        const auto row = [](char32_t codePoint, int cells) {
            QTest::addRow("U+%04X", static_cast<unsigned>(codePoint)) << codePoint << cells;
        };
        row(U'a', 1);
        row(0xAD, 1);   // a soft hyphen is drawn
        row(0x2FF, 1);  // the last before the combining marks
        row(0x300, 0);
        row(0x200D, 0);  // the zero-width joiner
        row(0x20DD, 0);  // an enclosing circle
        row(0x2028, 1);  // shown as a dot
        row(0xFFFC, 1);
        // The leading consonants of Hangul are wide, its vowels and finals join them.
        row(0x10FF, 1);
        row(0x1100, 2);
        row(0x115F, 2);
        row(0x1160, 0);
        row(0x11FF, 0);
        row(0x1200, 1);
        // Both ends of ranges of wide characters.
        row(0x2319, 1);
        row(0x231A, 2);
        row(0x231B, 2);
        row(0x231C, 1);
        row(0x23F0, 2);
        row(0x4DFF, 1);
        row(0x4E00, 2);
        row(0xA4CF, 2);
        row(0xA4D0, 1);
        row(0x1F600, 2);
        row(0x3FFFD, 2);
        row(0x3FFFE, 1);
        row(0x10FFFD, 1);
    }
    void aCharacterTakesAsManyCellsAsItsShape() {
        QFETCH(char32_t, codePoint);
        QTEST(cellsOf(codePoint), "cells");
    }

    void onlyACharacterWithoutAShapeIsShownAsADot() {
        for (const char32_t none :
             {U'\0', U'\n', U'\r', U'\x1F', U'\x7F', U'\u0080', U'\u009F', U'\u2028', U'\u2029', U'\uFFFC'})
            QCOMPARE(shownInsteadOf(none), u'\u00B7');
        for (const char32_t shown :
             {U'\t', U' ', U'a', U'~', U'\u00A0', U'\u2027', U'\u202A', U'\uFFFB', U'\uFFFD'})
            QCOMPARE(shownInsteadOf(shown), u'\0');
    }

    void aTabStopIsEveryEightCells() {
        QCOMPARE(nextTabStop(0), 8U);
        QCOMPARE(nextTabStop(7), 8U);
        QCOMPARE(nextTabStop(8), 16U);
    }

    void printableAsciiIsFromSpaceToTilde() {
        for (int byte = 0; byte < 256; ++byte)
            QCOMPARE(isPrintableAscii(static_cast<unsigned char>(byte)), byte >= ' ' && byte <= '~');
    }
};

TEST_CLASS(CellWidthTest, NoApplication)
#include "CellWidthTest.moc"
