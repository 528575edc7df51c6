#include "TestProgram.h"
#include "Utf8.h"

#include <QString>
#include <QTest>

#include <random>
#include <string>

using namespace ferrolt;

namespace {

QByteArray encoded(char32_t codePoint) {
    return QStringView(QChar::fromUcs4(codePoint)).toUtf8();
}

std::string_view view(const QByteArray &bytes) {
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

}  // namespace

/// The rules of UTF-8, with Qt's encoder as the second implementation.
class Utf8Test : public QObject {
    Q_OBJECT

    static bool isMisplaced(const QByteArray &text) {
        const utf8::Character character = utf8::characterAt(text, 0);
        return character.codePoint == 0xFFFD && character.length == 1;
    }

  private Q_SLOTS:
    void everyCharacterIsReadBackAsItWasWritten() {
        for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
            if (codePoint >= 0xD800 && codePoint <= 0xDFFF)
                continue;
            const QByteArray text = "x" + encoded(codePoint) + "x";
            const auto length = static_cast<std::size_t>(text.size() - 2);
            const utf8::Character character = utf8::characterAt(text, 1);
            if (character.codePoint != codePoint || character.length != length ||
                utf8::validPrefixLength(view(text)) != length + 2)
                QFAIL(qPrintable(QString("U+%1").arg(uint{codePoint}, 4, 16)));
            for (std::size_t at = 1; at <= length; ++at)
                if (utf8::characterStart(text, at) != 1)
                    QFAIL(qPrintable(QString("the start of U+%1").arg(uint{codePoint}, 4, 16)));
            if (utf8::characterStart(text, length + 1) != length + 1)
                QFAIL(qPrintable(QString("the end of U+%1").arg(uint{codePoint}, 4, 16)));
        }
    }

    void aByteThatBeginsNoCharacterCountsAlone() {
        for (int lead = 0x80; lead <= 0xFF; ++lead) {
            const QByteArray byte(1, static_cast<char>(lead));
            QVERIFY2(isMisplaced(byte + "abc"), byte.toHex().constData());
            QVERIFY2(isMisplaced(byte), byte.toHex().constData());
            if (lead < 0xC2 || lead > 0xF4)
                QVERIFY2(isMisplaced(byte + "\x80\x80\x80"), byte.toHex().constData());
        }
    }

    void aCharacterThatIsCutCountsByItsBytes() {
        for (const char32_t codePoint : {char32_t{0xE9}, char32_t{0x20AC}, char32_t{0x1F600}}) {
            const QByteArray whole = encoded(codePoint);
            for (qsizetype length = 1; length < whole.size(); ++length) {
                QVERIFY(isMisplaced(whole.left(length)));
                QVERIFY(isMisplaced(whole.left(length) + "a" + whole));
            }
        }
    }

    void theStartIsLookedForThreeBytesBackAndNoFurther() {
        const QByteArray continuations(6, '\x80');
        QCOMPARE(utf8::characterStart(continuations, 5), std::size_t{2});
        QCOMPARE(utf8::characterStart(continuations, 2), std::size_t{0});
        QCOMPARE(utf8::characterStart(continuations, 6), std::size_t{6});
        QCOMPARE(utf8::characterStart(continuations, 9), std::size_t{6});
    }

    void aBoundTakesTheLongestPrefixThatFits() {
        std::mt19937 random(1);
        const std::string_view parts[] = {
            "a", "plain text", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xFF", "\xE2\x82", "\xC3"};
        for (int round = 0; round < 5000; ++round) {
            std::string bytes;
            for (int i = 0; i < 12; ++i)
                bytes += parts[random() % std::size(parts)];
            const QByteArray whole = utf8::withReplacements(bytes, 3 * bytes.size() + 4).text;
            const std::size_t bound = 4 + random() % 60;
            const utf8::Replaced some = utf8::withReplacements(bytes, bound);
            const auto size = static_cast<std::size_t>(some.text.size());
            QVERIFY(size <= bound);
            QVERIFY(whole.startsWith(some.text));
            QCOMPARE(utf8::withReplacements(bytes.substr(0, some.taken), 3 * bytes.size() + 4).text,
                     some.text);
            if (size < static_cast<std::size_t>(whole.size()))
                QVERIFY(size + utf8::characterAt(whole, size).length > bound);
            else
                QCOMPARE(some.taken, bytes.size());
        }
    }

    /// Every byte, first in a text, between others and last.
    void aByteAloneIsACharacterOrReplaced() {
        for (int value = 0; value < 256; ++value) {
            const bool isAscii = value < 0x80;
            const std::string byte(1, static_cast<char>(value));
            const std::string bytes = byte + "a" + byte;
            const std::string character = isAscii ? byte : "\xEF\xBF\xBD";
            const utf8::Replaced replaced = utf8::withReplacements(bytes, 100);
            QCOMPARE(replaced.text.toStdString(), character + "a" + character);
            QCOMPARE(replaced.taken, bytes.size());
            QCOMPARE(replaced.text.capacity(), replaced.text.size());
            QCOMPARE(utf8::validPrefixLength(bytes), isAscii ? bytes.size() : 0U);
        }
    }
};

TEST_CLASS(Utf8Test, NoApplication)
#include "Utf8Test.moc"
