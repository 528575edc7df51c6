#include "LogBuffer.h"
#include "TestProgram.h"

#include <QTest>

using namespace ferrolt;

class LogBufferTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void anElementKeepsItsNumberForLife() {
        LogBuffer log;
        QVERIFY(log.isEmpty());
        QCOMPARE(log.firstSequence(), 0U);
        QCOMPARE(log.endSequence(), 0U);
        QVERIFY(!log.holds(0));
        for (const char *element : {"one\n", "two\n", "three\n"})
            log.append(element);
        QCOMPARE(log.takeFirst(), "one\n");
        QCOMPARE(log.size(), 2U);
        QCOMPARE(log.firstSequence(), 1U);
        QCOMPARE(log.endSequence(), 3U);
        QCOMPARE(log.at(0), "two\n");
        QCOMPARE(log.bySequence(1), "two\n");
        QCOMPARE(log.bySequence(2), "three\n");
        QVERIFY(!log.holds(0));
        QVERIFY(log.holds(1));
        QVERIFY(log.holds(2));
        QVERIFY(!log.holds(3));
    }

    void itsBytesAreThoseOfTheElementsThatItHolds() {
        LogBuffer log;
        QCOMPARE(log.byteCount(), 0U);
        log.append("one\n");
        log.append("three\n");
        QCOMPARE(log.byteCount(), 10U);
        log.takeFirst();
        QCOMPARE(log.byteCount(), 6U);
        log.takeFirst();
        QCOMPARE(log.byteCount(), 0U);
        QVERIFY(log.isEmpty());
    }

    void itsTextIsItsElementsWithNothingBetween() {
        LogBuffer log;
        QCOMPARE(log.joined(), "");
        log.append("one\nt");
        log.append("wo");
        QCOMPARE(log.joined(), "one\ntwo");
    }

    void aSnapshotStaysAsItIs() {
        LogBuffer log;
        log.append("one\n");
        log.append("two\n");
        const std::vector<LogElement> snapshot = log.snapshot();
        log.takeFirst();
        QCOMPARE(snapshot, (std::vector<LogElement>{"one\n", "two\n"}));
        QCOMPARE(static_cast<const void *>(snapshot[1].constData()),
                 static_cast<const void *>(log.at(0).constData()));
    }
};

TEST_CLASS(LogBufferTest, NoApplication)
#include "LogBufferTest.moc"
