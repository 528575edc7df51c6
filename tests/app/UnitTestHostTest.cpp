#include "Ferrolt_Miner_LauncherApp.h"
#include "Supervision.h"
#include "Updater.h"

#include <QTest>

#include <chrono>

/// What makes a process a unit-test host: the class of the platform's test cases is in it.
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
        // Refused at once: a check that was started would complete.
        seams.servers.updateServer = QStringLiteral("https://127.0.0.1:1");
        Ferrolt_Miner_LauncherApp app(std::move(seams));
        s.vars = app.appVars();
        QVERIFY(app.appDelegate().appVars == s.vars);
        for (int i = 0; i < 50; ++i) {
            s.time->advance(200ms);
            QTest::qWait(2);
        }
        QVERIFY(!s.vars->updater->_isUpdateCheckComplete);
        QVERIFY(!s.vars->_isLumRunning);
    }
};

QTEST_GUILESS_MAIN(UnitTestHostTest)
#include "UnitTestHostTest.moc"
