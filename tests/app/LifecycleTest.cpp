#include "AppDelegate.h"
#include "Ferrolt_Miner_LauncherApp.h"
#include "InstallationScene.h"
#include "Listener.h"
#include "Supervision.h"
#include "TestAuthority.h"
#include "TestHttpsServer.h"
#include "TestProgram.h"
#include "Updater.h"

#include <QApplication>
#include <QTest>
#include <QWidget>

#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

/// The application with a plain window, practice children, and an update server that accepts connections but
/// never answers: the update check completes when the server hangs up.
struct Application : Supervision {
    Listener silentServer;
    const Listener enginePort;
    std::unique_ptr<Ferrolt_Miner_LauncherApp> app;
    QWidget window;

    using Supervision::Supervision;

    void launch() {
        tree.writeEnginePort(std::to_string(enginePort.port));
        Seams seams(alerts);
        seams.paths = tree.roots();
        seams.time = time;
        seams.servers.updateServer = QStringLiteral("https://127.0.0.1:%1").arg(silentServer.port);
        // The LibreOffice step after the check must not use the machine's server, temporary folder, settings
        // or prompt.
        seams.servers.libreOfficeServer.clear();
        seams.settings = std::make_shared<SettingsStore>(tree.path() / "settings.json");
        seams.tools = std::make_shared<SubstituteTools>();
        seams.privilegedCopy = std::make_shared<SubstitutePrompt>();
        seams.temporaryFolder = tree.path() / "tmp";
        adjustSeams(seams);
        app = std::make_unique<Ferrolt_Miner_LauncherApp>(std::move(seams));
        vars = app->appVars();
        app->appDelegate().setFirstWindow(&window);
    }

    void finishLaunching() { app->appDelegate().applicationDidFinishLaunching(); }

    bool completeTheUpdateCheck() {
        silentServer.socket.close();
        return waitUntil([&] { return vars->updater->_isUpdateCheckComplete.get(); });
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
        a.window.show();  // some platforms show the window by themselves
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
        // The services are requested nevertheless: the engine runs, the client waits for an identity.
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
        // However often it is called.
        for (int i = 0; i < 100; ++i) {
            a.time->advance(200ms);
            QCoreApplication::processEvents();
        }
        QVERIFY(!a.vars->updater->_isUpdateCheckComplete);
        QVERIFY(!a.vars->_isLumRunning);
        QVERIFY(a.vars->lumoraLog().isEmpty());
        // Only the next poll of the check is pending: no update timer yet.
        QCOMPARE(a.time->pending(), 1U);
        QVERIFY(a.time->nextDelay() <= 200ms);
    }

    void afterTheCheckComeTheServicesTheLibreOfficeStepAndTheTimer() {
        const QString manifest = QStringLiteral("/download/updates/macminerdeploy.json");
        const TestAuthority authority;
        TestHttpsServer server(authority.issue());
        server.on(manifest, TestHttpsServer::replies(
                                200, R"({"checkUpdateInterval": 6, "libreofficeversion": "26.8.1"})"));
        Application a("silent");
        a.adjustSeams = [&](Seams &seams) {
            seams.servers.updateServer = server.base();
            seams.extraAuthorities = authority.certificate();
        };
        a.launch();
        QVERIFY(waitUntil([&] { return a.vars->updater->_isUpdateCheckComplete.get(); }));
        QVERIFY(a.engineLog().empty());
        QVERIFY(a.waitForTheEngine());
        // Only a periodic check changes the interval: the first one comes after an hour.
        QVERIFY(a.time->nextDelay() == 1h);
        const std::string expected =
            "Lumora Core started.\nLibreOffice install skipped: could not build Metalink URL for version "
            "26.8.1. "
            "Will retry on the next check.\n";
        QVERIFY(a.waitForEngineLog(expected));
        QCOMPARE(a.engineLog(), expected);
        QVERIFY(waitUntil([&] { return a.vars->_isQorClientRunning.get(); }));
        QCOMPARE(a.time->pending(), 1U);
        QCOMPARE(server.requestCount(manifest), 1);
        a.time->advance(a.time->nextDelay());
        QVERIFY(waitUntil([&] { return server.requestCount(manifest) == 2 && a.time->pending() == 1; }));
        QVERIFY(a.time->nextDelay() == 6h);
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
        // Then the window is neither raised nor shown.
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QVERIFY(a.app->appDelegate().applicationShouldHandleReopen(true));
        QCoreApplication::processEvents();
        QCOMPARE(QApplication::activeWindow(), &other);
        a.window.hide();
        QVERIFY(a.app->appDelegate().applicationShouldHandleReopen(true));
        QVERIFY(!a.window.isVisible());
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

TEST_CLASS(LifecycleTest, QApplication)
#include "LifecycleTest.moc"
