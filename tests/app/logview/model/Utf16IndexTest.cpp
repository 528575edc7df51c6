#include "PlaceInLog.h"
#include "TestProgram.h"
#include "Utf16Index.h"

#include <QTest>

using namespace ferrolt;

class Utf16IndexTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aCharacterOfFourBytesIsTwoUnits() {
        const QString text = QString::fromUtf8("aé漢😀\u0080\U00010000\uFFFD");
        QCOMPARE(Utf16Index::unitsIn(text.toUtf8()), text.size());
        QCOMPARE(Utf16Index::unitsIn(""), 0);
    }

    void unitsOfALongTextAreThoseOfItsCharacters() {
        for (const char *character : {"a", "é", "漢", "😀"}) {
            const QByteArray bytes(character);
            for (const qsizetype times : {15, 16, 17, 64, 1000}) {
                const qsizetype each = QString::fromUtf8(bytes).size();
                QCOMPARE(Utf16Index::unitsIn(bytes.repeated(times)), times * each);
                QCOMPARE(Utf16Index::unitsIn("a" + bytes.repeated(times)), times * each + 1);
            }
        }
    }

    void unitsAreTurnedIntoTheBytesOfWholeCharacters() {
        const QByteArray text = "aé😀b";  // at 0, 1, 3 and 7
        for (const auto &[units, bytes] :
             {std::pair(-1, 0), {0, 0}, {1, 1}, {2, 3}, {3, 3}, {4, 7}, {5, 8}, {9, 8}})
            QCOMPARE(Utf16Index::bytesOf(text, units), static_cast<std::size_t>(bytes));
    }

    void placesAndUnitsAreTurnedIntoEachOther() {
        LogBuffer log;
        log.append("aé");
        log.append("😀b\n");
        log.append("end");
        Utf16Index index(log);
        QCOMPARE(index.size(), 2 + 4 + 3);
        int units = 0;
        for (const LogPosition place : {at(0, 0), at(0, 1), at(1, 0)})
            QCOMPARE(index.unitsBefore(place), units++);
        QCOMPARE(index.unitsBefore(at(0, 3)), 2);
        QCOMPARE(index.unitsBefore(at(1, 4)), 4);
        QCOMPARE(index.unitsBefore(at(2, 3)), 9);
        QCOMPARE(index.unitsBefore(at(7, 0)), 9);
        QCOMPARE(index.positionAt(0), at(0, 0));
        QCOMPARE(index.positionAt(1), at(0, 1));
        QCOMPARE(index.positionAt(2), at(1, 0));
        QCOMPARE(index.positionAt(3), at(1, 0));  // inside the surrogate pair
        QCOMPARE(index.positionAt(4), at(1, 4));
        QCOMPARE(index.positionAt(6), at(2, 0));
        QCOMPARE(index.positionAt(9), at(2, 3));
        QCOMPARE(index.positionAt(10), at(2, 3));
        QCOMPARE(index.positionAt(-1), at(0, 0));
    }

    void itFollowsTheLog() {
        LogBuffer log;
        Utf16Index index(log);
        QCOMPARE(index.unitsBefore({}), 0);
        QCOMPARE(index.size(), 0);
        log.append("one\n");
        QCOMPARE(index.size(), 4);
        log.append("two😀\n");
        log.append("three\n");
        QCOMPARE(index.unitsBefore(at(2, 1)), 4 + 6 + 1);
        log.takeFirst();
        QCOMPARE(index.positionAt(3), at(1, 3));
        QCOMPARE(index.unitsBefore(at(0, 2)), 0);
        log.takeFirst();
        QCOMPARE(index.size(), 6);
        QCOMPARE(index.unitsBefore(at(2, 5)), 5);
        log.takeFirst();
        QCOMPARE(index.size(), 0);
    }
};

TEST_CLASS(Utf16IndexTest, NoApplication)
#include "Utf16IndexTest.moc"
