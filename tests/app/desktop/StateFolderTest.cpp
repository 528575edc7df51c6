#include "StateFolder.h"
#include "TestProgram.h"

#include <QDir>
#include <QTest>

using namespace ferrolt;

class StateFolderTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aNamedStateFolderIsUsed() {
        qputenv("XDG_STATE_HOME", "/somewhere/state");
        QCOMPARE(stateFolder(), QString("/somewhere/state/ferrolt-miner-launcher"));
    }

    void withoutOneItLiesInTheHomeFolder() {
        qunsetenv("XDG_STATE_HOME");
        QCOMPARE(stateFolder(), QDir::homePath() + "/.local/state/ferrolt-miner-launcher");
    }

    void anEmptyOrRelativeOneIsIgnored() {
        for (const char *value : {"", "relative/state"}) {
            qputenv("XDG_STATE_HOME", value);
            QCOMPARE(stateFolder(), QDir::homePath() + "/.local/state/ferrolt-miner-launcher");
        }
    }
};

TEST_CLASS(StateFolderTest, QCoreApplication)
#include "StateFolderTest.moc"
