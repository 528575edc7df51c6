#include "AppDelegate.h"
#include "Ferrolt_Miner_LauncherApp.h"
#include "Listener.h"
#include "Supervision.h"
#include "Updater.h"

#include <QTest>
#include <QWidget>

#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

/// The application with a window of the test's, practice children, and an update server that accepts
/// connections but never answers: its check completes when the time is moved to its time-out, and not before.
struct Application : Supervision {
    const Listener silentServer;
    const Listener enginePort;
    std::unique_ptr<Ferrolt_Miner_LauncherApp> app;
    QWidget window;

    void launch() {
        tree.writeEnginePort(std::to_string(enginePort.port));
        Seams seams(alerts);
        seams.paths = tree.roots();
        seams.time = time;
        seams.servers.updateServer = QStringLiteral("https://127.0.0.1:%1").arg(silentServer.port);
        app = std::make_unique<Ferrolt_Miner_LauncherApp>(std::move(seams));
        vars = app->appVars();
        app->appDelegate().setFirstWindow(&window);
    }

    void finishLaunching() { app->appDelegate().applicationDidFinishLaunching(); }

    bool completeTheUpdateCheck() {
        return waitUntil([&] {
            if (!vars->updater->_isUpdateCheckComplete)
                time->advance(200ms);
            return vars->updater->_isUpdateCheckComplete.get();
        });
    }
    bool waitForTheEngine() {
        return waitUntil([&] {
            time->advance(200ms);
            return vars->_isLumRunning.get();
        });
    }
};

}  // namespace

class LifecycleTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void withBothIdentityValuesTheWindowIsClosedAtLaunchAndAReopenShowsIt() {
        Application a;
        a.launch();
        a.window.show();  // as a platform that shows the window by itself
        a.finishLaunching();
        QVERIFY(!a.window.isVisible());
        a.app->windowContentAppeared();
        QVERIFY(a.alerts->shown.empty());
        QVERIFY(a.completeTheUpdateCheck());
        QVERIFY(a.waitForTheEngine());
        QVERIFY(waitUntil([&] { return a.vars->_isQorClientRunning.get(); }));
        QVERIFY(a.app->appDelegate().applicationShouldHandleReopen(false));
        QVERIFY(a.window.isVisible());
    }

    void withAnEntityNameOfBlanksTheAlertAppearsAndTheSettingsAreSelected() {
        Application a;
        a.tree.writeIdentity("ada@example.org", " \t ");
        a.launch();
        a.vars->selectTab(AppVars::homeTab);
        a.finishLaunching();
        QVERIFY(a.window.isVisible());
        QCOMPARE(a.vars->_selectedTab.get(), std::optional(AppVars::homeTab));  // queued, not done inline
        QVERIFY(waitUntil([&] { return a.vars->_selectedTab.get() == AppVars::settingsTab; }));
        a.app->windowContentAppeared();
        QCOMPARE(a.alerts->shown.size(), 1U);
        const Alert alert = a.alerts->shown.front();
        QCOMPARE(alert.messageText, QStringLiteral("Ferrolt Miner Missing Info"));
        QCOMPARE(alert.informativeText,
                 QStringLiteral(
                     "You must provide an E-Mail address\nand User/Company name (must contain a space)\n"
                     "before the miner will do any work."));
        QCOMPARE(alert.button, QStringLiteral("OK"));
        // The services are requested all the same: the engine runs, the client waits for its identity.
        QVERIFY(a.completeTheUpdateCheck());
        QVERIFY(a.waitForTheEngine());
        QVERIFY(!a.vars->_isQorClientRunning);
    }

    void theAlertIsShownOnceAtATimeAndAgainForAWindowThatAppearsAnew() {
        Application a;
        a.tree.writeIdentity("", "");
        a.launch();
        a.app->windowContentAppeared();
        a.app->windowContentAppeared();
        QCOMPARE(a.alerts->shown.size(), 1U);
        a.alerts->dismiss(0);
        a.app->windowContentAppeared();
        QCOMPARE(a.alerts->shown.size(), 2U);
    }

    void anEntityNameOfASingleWordCountsAsComplete() {
        Application a;
        a.tree.writeIdentity("ada", "Ada");
        a.launch();
        a.app->windowContentAppeared();
        a.finishLaunching();
        QVERIFY(a.alerts->shown.empty());
        QVERIFY(!a.window.isVisible());
    }

    void theServicesAreNeverStartedWhileTheUpdateCheckDoesNotComplete() {
        Application a;
        a.launch();
        // Short of the check's own time-out, however often it is asked.
        for (int i = 0; i < 100; ++i) {
            a.time->advance(200ms);
            QCoreApplication::processEvents();
        }
        QVERIFY(!a.vars->updater->_isUpdateCheckComplete);
        QVERIFY(!a.vars->_isLumRunning);
        QVERIFY(a.vars->lumoraLog().isEmpty());
    }

    void reopeningWhileTheWindowIsVisibleChangesNothing() {
        Application a;
        a.launch();
        a.window.show();
        a.window.setWindowState(Qt::WindowMaximized);
        const auto state = a.window.windowState();
        QVERIFY(a.app->appDelegate().applicationShouldHandleReopen(true));
        QCOMPARE(a.window.windowState(), state);
        QVERIFY(a.window.isVisible());
    }

    void quittingStopsBothChildrenBeforeItReturns() {
        Application a;
        a.launch();
        QVERIFY(a.completeTheUpdateCheck());
        QVERIFY(a.waitForTheEngine());
        QVERIFY(waitUntil([&] { return a.vars->_isQorClientRunning.get(); }));
        const auto engine = a.vars->_lump.get();
        const auto client = a.vars->_qorcp.get();
        a.app->appDelegate().applicationWillTerminate();
        QVERIFY(!a.vars->_isLumRunning);
        QVERIFY(!a.vars->_isQorClientRunning);
        QCOMPARE(engine->waitUntilExit(), 15);
        QCOMPARE(client->waitUntilExit(), 15);
        QVERIFY(a.alerts->shown.empty());
    }

    void aDelegateWithoutAStateOrAWindowDoesNothing() {
        AppDelegate delegate;
        delegate.applicationDidFinishLaunching();
        QCoreApplication::processEvents();
        QVERIFY(delegate.applicationShouldHandleReopen(false));
        delegate.applicationWillTerminate();
    }
};

QTEST_MAIN(LifecycleTest)
#include "LifecycleTest.moc"
