#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "ProcessFacts.h"
#include "SessionManager.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QFile>
#include <QTest>

#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program in a desktop session that ends, or whose end is cancelled.
class SessionEndTest : public QObject {
    Q_OBJECT

    VirtualDesktop desktop;
    std::unique_ptr<SessionManager> manager;
    Listener enginePort;

    static bool bothRun(const Launcher &launcher) {
        return launcher.child("Orbix") && launcher.child("qorclient");
    }

  private Q_SLOTS:
    void initTestCase() { QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure())); }

    void init() {
        manager = std::make_unique<SessionManager>();
        QVERIFY(!manager->address().isEmpty());
        desktop.setVariable("SESSION_MANAGER", manager->address());
    }

    void theSessionsEndQuitsItWithItsWindowClosedAndBothChildrenAreAskedToEnd() {
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(enginePort.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(manager->says("joined"));
        QVERIFY(manager->says("saved"));
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(launcher.visibleWindows().isEmpty());
        const pid_t engine = launcher.child("Orbix")->id;
        const pid_t client = launcher.child("qorclient")->id;
        manager->tell("save");
        QVERIFY(manager->says("saved"));
        manager->tell("die");
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.program().exitCode(), 0);
        QVERIFY(waitUntil([&] { return !isAlive(engine) && !isAlive(client); }));
        QVERIFY(!manager->said().contains("asks-its-user"));
    }

    void anAlertOnScreenDoesNotHoldTheSessionsEndUp() {
        InstalledTree tree("wait", "wait");
        tree.writeIdentity("");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 2; }, 60s));
        QVERIFY(waitUntil([&] { return launcher.child("Orbix").has_value(); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        manager->tell("save");
        QVERIFY(manager->says("saved"));
        manager->tell("die");
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitCode(), 0);
        QVERIFY(waitUntil([&] { return !isAlive(engine); }));
        QVERIFY(!manager->said().contains("asks-its-user"));
    }

    void anEndThatIsCalledOffLeavesBothChildrenRunning() {
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(enginePort.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(manager->says("joined"));
        QVERIFY(manager->says("saved"));
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        const pid_t client = launcher.child("qorclient")->id;
        manager->tell("save");
        QVERIFY(manager->says("saved"));
        manager->tell("cancel");
        QCOMPARE(launcher.startAgain(), 0);  // and waits until its event loop has run
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 1; }));
        QCOMPARE(launcher.child("Orbix")->id, engine);
        QCOMPARE(launcher.child("qorclient")->id, client);
        manager->tell("save");
        QVERIFY(manager->says("saved"));
        manager->tell("die");
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QVERIFY(waitUntil([&] { return !isAlive(engine) && !isAlive(client); }));
    }

    void theSessionManagerIsNotToRestoreIt() {
        InstalledTree tree("wait", "wait");
        Launcher launcher(desktop, tree.executable(), tree.home());
        const QString program = tree.executable().c_str();
        QVERIFY(waitUntil([&] { return manager->said().contains("property RestartCommand " + program); }));
        QVERIFY(waitUntil([&] { return manager->said().contains("property RestartStyleHint 3"); }));
        QVERIFY(!manager->said().contains("property RestartStyleHint 0"));
    }

    void theWindowsSizeIsSavedWhenTheSessionAsksAndNotOnlyAtTheEnd() {
        InstalledTree tree("wait", "wait");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(manager->says("joined"));
        QVERIFY(
            waitUntil([&] { return launcher.startAgain() == 0 && launcher.visibleWindows().size() == 1; }));
        const QString state =
            QString(tree.home().c_str()) + "/.local/state/ferrolt-miner-launcher/window.json";
        QFile::remove(state);
        manager->tell("save");
        QVERIFY(waitUntil([&] { return QFile::exists(state); }));
        QVERIFY(launcher.isRunning());
    }

    void whenTheDisplayGoesWithoutAWordBothChildrenAreGoneWithinASecond() {
        auto fragile = std::make_unique<VirtualDesktop>();
        QVERIFY(fragile->failure().isEmpty());
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(enginePort.port));
        Launcher launcher(*fragile, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        const pid_t client = launcher.child("qorclient")->id;
        fragile.reset();
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.program().exitCode(), 1);
        QVERIFY(waitUntil([&] { return !isAlive(engine) && !isAlive(client); }, 1s));
    }
};

TEST_CLASS(SessionEndTest, QCoreApplication)
#include "SessionEndTest.moc"
