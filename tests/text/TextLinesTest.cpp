#include "TestProgram.h"
#include "TextLines.h"

#include <QByteArrayList>
#include <QTest>

#include <string>

namespace ferrolt {

namespace {

QByteArrayList linesOf(const QByteArray &text) {
    const std::string utf8 = text.toStdString();
    TextLines walk(utf8);
    QByteArrayList lines;
    while (const auto line = walk.next())
        lines += QByteArray(line->data(), static_cast<qsizetype>(line->size()));
    return lines;
}

}  // namespace

class TextLinesTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void everyNewlineCharacterEndsALine_data();
    void everyNewlineCharacterEndsALine();
    void aCarriageReturnWithALineFeedHasAnEmptyLineBetween();
    void theEmptyTextIsOneEmptyLine();
    void aNewlineAtTheEndOpensAnEmptyLine();
    void charactersThatShareBytesWithANewlineCharacterEndNoLine_data();
    void charactersThatShareBytesWithANewlineCharacterEndNoLine();
    void nulIsACharacterLikeAnyOther();
};

void TextLinesTest::everyNewlineCharacterEndsALine_data() {
    QTest::addColumn<QByteArray>("newline");
    QTest::newRow("line feed") << QByteArray("\n");
    QTest::newRow("line tabulation") << QByteArray("\v");
    QTest::newRow("form feed") << QByteArray("\f");
    QTest::newRow("carriage return") << QByteArray("\r");
    QTest::newRow("next line") << QByteArray("\xC2\x85");
    QTest::newRow("line separator") << QByteArray("\xE2\x80\xA8");
    QTest::newRow("paragraph separator") << QByteArray("\xE2\x80\xA9");
}

void TextLinesTest::everyNewlineCharacterEndsALine() {
    QFETCH(QByteArray, newline);
    QCOMPARE(linesOf("one" + newline + "two" + newline + newline + "three"),
             (QByteArrayList{"one", "two", "", "three"}));
}

void TextLinesTest::aCarriageReturnWithALineFeedHasAnEmptyLineBetween() {
    QCOMPARE(linesOf("one\r\ntwo\r\n"), (QByteArrayList{"one", "", "two", "", ""}));
}

void TextLinesTest::theEmptyTextIsOneEmptyLine() {
    QCOMPARE(linesOf(""), (QByteArrayList{""}));
}

void TextLinesTest::aNewlineAtTheEndOpensAnEmptyLine() {
    QCOMPARE(linesOf("one\n"), (QByteArrayList{"one", ""}));
}

void TextLinesTest::charactersThatShareBytesWithANewlineCharacterEndNoLine_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("U+0084 and U+0086") << QByteArray("a\xC2\x84 b\xC2\x86 c");
    QTest::newRow("U+2027 and U+202A") << QByteArray("a\xE2\x80\xA7 b\xE2\x80\xAA c");
    QTest::newRow("U+20A8, the rupee sign") << QByteArray("a\xE2\x82\xA8 b");
    QTest::newRow("U+0145, the same continuation byte") << QByteArray("a\xC5\x85 b");
    QTest::newRow("tab and the other controls") << QByteArray("a\t\b\x0E\x1C\x1D\x1E\x1F b");
}

void TextLinesTest::charactersThatShareBytesWithANewlineCharacterEndNoLine() {
    QFETCH(QByteArray, text);
    QCOMPARE(linesOf(text), QByteArrayList{text});
}

void TextLinesTest::nulIsACharacterLikeAnyOther() {
    QCOMPARE(linesOf(QByteArrayLiteral("a\0b\nc\0")),
             (QByteArrayList{QByteArrayLiteral("a\0b"), QByteArrayLiteral("c\0")}));
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::TextLinesTest, QCoreApplication)
#include "TextLinesTest.moc"
