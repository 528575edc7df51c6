#include "SingleLineText.h"
#include "TestProgram.h"

#include <QTest>

using namespace ferrolt;

class SingleLineTextTest : public QObject {
    Q_OBJECT

    static QString singleLine(QString text) {
        int cursor = 0;
        SingleLineText::makeSingleLine(text, cursor);
        return text;
    }

  private Q_SLOTS:
    void aLineBreakOfAnyKindBecomesOneSpace_data() {
        QTest::addColumn<QString>("lineBreak");
        for (const char16_t *lineBreak :
             {u"\n", u"\r", u"\r\n", u"\v", u"\f", u"\u0085", u"\u2028", u"\u2029"})
            QTest::addRow("U+%04X", lineBreak[0]) << QString::fromUtf16(lineBreak);
    }
    void aLineBreakOfAnyKindBecomesOneSpace() {
        QFETCH(QString, lineBreak);
        QCOMPARE(singleLine("Ada" + lineBreak + "Lovelace"), QString("Ada Lovelace"));
        QCOMPARE(singleLine("a" + lineBreak + lineBreak + "b"), QString("a  b"));
    }

    void lineBreaksAtEitherEndAreDropped() {
        QCOMPARE(singleLine("\n\r\nada@example.org\r\n\n"), QString("ada@example.org"));
        QCOMPARE(singleLine("\n\n"), QString());
    }

    void nulGoesAndNothingElseDoes() {
        QCOMPARE(singleLine(QString::fromLatin1("a\0b", 3)), QString("ab"));
        const QString odd = QString::fromUtf8("\t a\u202Eb\u200F \U0001F600e\u0301 \u00a0=#!\x1b");
        QCOMPARE(singleLine(odd), odd);
    }

    void theCursorStaysBeforeItsCharacter() {
        QString text("\nab\r\ncd\n");
        int cursor = 5;  // before the c
        SingleLineText::makeSingleLine(text, cursor);
        QCOMPARE(text, QString("ab cd"));
        QCOMPARE(cursor, 3);

        text = "ab\n";
        cursor = 3;
        SingleLineText::makeSingleLine(text, cursor);
        QCOMPARE(cursor, 2);
    }

    void everyTextIsAccepted() {
        SingleLineText validator;
        int cursor = 0;
        for (QString text : {QString(), QString("\n"), QString(" "), QString("x")})
            QCOMPARE(validator.validate(text, cursor), QValidator::Acceptable);
    }
};

TEST_CLASS(SingleLineTextTest, QCoreApplication)
#include "SingleLineTextTest.moc"
