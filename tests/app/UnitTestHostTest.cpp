#include "Ferrolt_Miner_LauncherApp.h"
#include "Supervision.h"
#include "TestProgram.h"
#include "Updater.h"

#include <QTest>

#include <chrono>

/// A process with this class is a unit-test host.
extern "C" [[gnu::visibility("default"), gnu::used]] const int XCTestCase = 1;

using namespace ferrolt;
using namespace std::chrono_literals;

class UnitTestHostTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void underAUnitTestHostNeitherTheUpdateCheckNorTheServicesStart() {
        Supervision s;
        Seams seams(s.alerts);
        seams.paths = s.tree.roots();
        seams.time = s.time;
        seams.servers.updateServer.clear();  // no valid address: a check completes without the network
        Ferrolt_Miner_LauncherApp app(std::move(seams));
        s.vars = app.appVars();
        QVERIFY(app.appDelegate().appVars == s.vars);

        Supervision::letTheMainQueueTurn();
        QVERIFY(!s.vars->updater->_isUpdateCheckComplete);
        QCOMPARE(s.time->pending(), 0U);  // no poll of a check is pending

        // A check that had been started would be complete by now: this one completes in the same time.
        s.vars->updater->runInitialCheck();
        Supervision::letTheMainQueueTurn();
        QVERIFY(s.vars->updater->_isUpdateCheckComplete);
        s.time->advance(1s);
        Supervision::letTheMainQueueTurn();
        QVERIFY(!s.vars->_isLumRunning);
        QCOMPARE(s.time->pending(), 0U);  // no update timer either
    }
};

TEST_CLASS(UnitTestHostTest, QCoreApplication)
#include "UnitTestHostTest.moc"
