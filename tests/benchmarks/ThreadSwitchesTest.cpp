#include "TestProgram.h"
#include "ThreadSwitches.h"

#include <QTest>

using namespace ferrolt::bench;

class ThreadSwitchesTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void anIdleProgramHasNone() { QCOMPARE(switchesBetween({{1, 50}, {2, 7}}, {{1, 50}, {2, 7}}), 0L); }

    void theSwitchesOfAllThreadsCount() {
        QCOMPARE(switchesBetween({{1, 50}, {2, 7}}, {{1, 53}, {2, 8}}), 4L);
    }

    void allSwitchesOfANewThreadCount() { QCOMPARE(switchesBetween({{1, 50}}, {{1, 50}, {3, 9}}), 9L); }

    /// Its switches are gone with it, and must not make up for those of others.
    void aThreadThatHasEndedCountsAsOne() {
        QCOMPARE(switchesBetween({{1, 50}, {2, 900}}, {{1, 52}}), 3L);
        QCOMPARE(switchesBetween({{1, 50}}, {}), 1L);
    }

    void anIdThatIsGivenToAnotherThreadTakesNothingAway() {
        QCOMPARE(switchesBetween({{1, 50}}, {{1, 4}}), 4L);
    }
};

TEST_CLASS(ThreadSwitchesTest, QCoreApplication)
#include "ThreadSwitchesTest.moc"
