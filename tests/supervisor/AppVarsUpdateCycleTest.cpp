#include "AppVars.h"
#include "InstallationScene.h"
#include "LibreOfficeInstaller.h"
#include "Listener.h"
#include "MainQueue.h"
#include "ProcessFacts.h"
#include "Supervision.h"
#include "TestProgram.h"
#include "Updater.h"
#include "Waiting.h"

#include <QSignalSpy>
#include <QTest>

#include <chrono>
#include <csignal>
#include <filesystem>

using namespace ferrolt;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

constexpr const char *restarting =
    "LibreOffice installed; restarting Lumora Core so its workers pick up office-document support.\n";
const QString manifestPath = QStringLiteral("/download/updates/macminerdeploy.json");

std::size_t count(const std::string &text, const std::string &part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++found;
    return found;
}

/// A supervisor and a server that is both the update server and the download server.
struct UpdateScene : Supervision {
    InstallationScene downloads;
    const Listener port;

    explicit UpdateScene(const std::string &engine = "wait") : Supervision(engine, "wait") {
        tree.writeEnginePort(std::to_string(port.port));
        adjustSeams = [this](Seams &seams) {
            seams.servers.updateServer = downloads.server.base();
            seams.servers.libreOfficeServer = downloads.server.base();
            seams.extraAuthorities = downloads.authority.certificate();
            seams.settings = downloads.services.settings;
            seams.tools = downloads.tools;
            seams.privilegedCopy = downloads.prompt;
            seams.temporaryFolder = downloads.temporary;
        };
    }
    /// Waits until nothing of this scene is running.
    ~UpdateScene() {
        waitUntil([] { return !LibreOfficeInstaller::isInstalling(); });
        if (vars && engineId() != 0)
            kill(engineId(), SIGKILL);  // it may ignore SIGTERM
    }

    bool bothRun() {
        start();
        return waitUntil([&] { return vars->_isQorClientRunning.get(); }) && waitForEngineLog("ready") &&
               waitForClientLog("ready");
    }
    int engineId() const { return vars->_lump.get() ? vars->_lump.get()->processIdentifier() : 0; }
    int clientId() const { return vars->_qorcp.get() ? vars->_qorcp.get()->processIdentifier() : 0; }
    std::size_t engineStarts() const { return count(engineLog(), "Lumora Core started.\n"); }

    void serveManifest(const QByteArray &json, int status = 200) {
        downloads.server.on(manifestPath, TestHttpsServer::replies(status, json));
    }
    qsizetype checks() const { return downloads.server.requestCount(manifestPath); }
    fs::path application() const { return tree.path() / "root/Applications/LibreOffice.app"; }

    /// Lets the update timer tick, and waits for the end of the check.
    bool tick() {
        // The time-outs of a session that has just ended go a moment after its result has come.
        if (!waitUntil([&] { return time->pending() == 1; }))
            return false;
        const auto before = checks();
        time->advance(time->nextDelay());
        return waitUntil([&] { return checks() > before && time->pending() > 0; });
    }
};

}  // namespace

/// The engine's reload and the update cycle, with real children and servers.
class AppVarsUpdateCycleTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void anInstalledLibreOfficeRestartsTheEngineOnceAndLeavesTheClientAlone() {
        UpdateScene s;
        s.downloads.publish({s.downloads.goodMirror()});
        QVERIFY(s.bothRun());
        const int engine = s.engineId();
        const int client = s.clientId();
        s.vars->ensureLibreOffice();
        QVERIFY(waitUntil([&] { return s.engineStarts() == 2; }));
        QVERIFY(s.engineId() != engine && s.engineId() != 0);
        QVERIFY(!isAlive(engine));
        QCOMPARE(s.clientId(), client);
        QVERIFY(isAlive(client));
        QVERIFY(s.vars->_isLumRunning && s.vars->_isQorClientRunning);

        QString expected =
            InstallationScene::linesOfAnInstallation({InstallationScene::downloading()}).join(QString());
        const std::string log = s.engineLog();
        QVERIFY(log.find(expected.toStdString() + restarting) != std::string::npos);
        QCOMPARE(count(log, restarting), 1U);
        QCOMPARE(count(log, "terminated"), 0U);
        QCOMPARE(count(s.clientLog(), "starting Qor Client"), 1U);  // no second wait for the port
        QVERIFY(s.alerts->shown.empty());
        QVERIFY(fs::exists(s.application()));
        QCOMPARE(s.downloads.recorded(), std::optional(QStringLiteral("26.2.4")));

        // A second check finds nothing to do.
        const auto requests = s.downloads.server.requests().size();
        s.vars->ensureLibreOffice();
        s.letTheMainQueueTurn();
        QCOMPARE(s.engineStarts(), 2U);
        QCOMPARE(s.downloads.server.requests().size(), requests);
    }

    void aTickDuringAReloadOnlyRearmsTheTimer() {
        UpdateScene s("ignore-term");
        s.serveManifest("{}");
        QVERIFY(s.bothRun());
        const int engine = s.engineId();
        s.vars->scheduleUpdateTimer();
        s.vars->reloadEngine();
        QVERIFY(!s.vars->_isLumRunning);
        QVERIFY(isAlive(engine));  // it ignores the request, so the reload lasts
        for (int tick = 0; tick < 3; ++tick) {
            QCOMPARE(s.time->pending(), 1U);
            QVERIFY(s.time->nextDelay() == 1h);
            s.time->advance(1h);
        }
        QCOMPARE(s.time->pending(), 1U);  // during a check there would be no timer
        QCOMPARE(s.engineStarts(), 1U);

        kill(engine, SIGKILL);
        QVERIFY(waitUntil([&] { return s.engineStarts() == 2; }));
        QCOMPARE(count(s.engineLog(), "terminated"), 0U);
        QVERIFY(s.tick());
        QCOMPARE(s.checks(), 1);
    }

    void anIntervalBelowOneOrNoneChangesNothing_data() {
        QTest::addColumn<QByteArray>("manifest");
        QTest::addColumn<int>("status");
        QTest::newRow("0") << QByteArray(R"({"checkUpdateInterval": 0})") << 200;
        QTest::newRow("-3") << QByteArray(R"({"checkUpdateInterval": -3})") << 200;
        QTest::newRow("missing") << QByteArray("{}") << 200;
        QTest::newRow("null") << QByteArray(R"({"checkUpdateInterval": null})") << 200;
        QTest::newRow("a text") << QByteArray(R"({"checkUpdateInterval": "6"})") << 200;
        QTest::newRow("no manifest") << QByteArray("sorry") << 404;
    }
    void anIntervalBelowOneOrNoneChangesNothing() {
        QFETCH(QByteArray, manifest);
        QFETCH(int, status);
        UpdateScene s;
        s.create().scheduleUpdateTimer();
        s.serveManifest(R"({"checkUpdateInterval": 5})");
        QVERIFY(s.tick());
        QVERIFY(s.time->nextDelay() == 5h);
        s.serveManifest(manifest, status);
        QVERIFY(s.tick());
        QVERIFY(s.time->nextDelay() == 5h);
    }

    void anIntervalHoldsFromTheEndOfItsCheck_data() {
        QTest::addColumn<QByteArray>("interval");
        QTest::addColumn<qint64>("hours");
        QTest::newRow("6") << QByteArray("6") << qint64{6};
        QTest::newRow("1") << QByteArray("1") << qint64{1};
        QTest::newRow("a month") << QByteArray("744") << qint64{744};
        QTest::newRow("longer than any clock") << QByteArray("9223372036854775807") << qint64{2'000'000};
    }
    void anIntervalHoldsFromTheEndOfItsCheck() {
        QFETCH(QByteArray, interval);
        QFETCH(qint64, hours);
        UpdateScene s;
        s.serveManifest("{\"checkUpdateInterval\": " + interval + "}");
        s.create().scheduleUpdateTimer();
        QVERIFY(s.time->nextDelay() == 1h);
        QVERIFY(s.tick());
        QVERIFY(s.time->nextDelay() == std::chrono::hours(hours));
        QCOMPARE(s.time->pending(), 1U);
    }

    void theTimerTicksOnceAndSchedulingAgainReplacesIt() {
        UpdateScene s;
        s.serveManifest("{}");
        s.create().scheduleUpdateTimer();
        s.vars->scheduleUpdateTimer();
        s.vars->scheduleUpdateTimer();
        QCOMPARE(s.time->pending(), 1U);
        for (int round = 1; round <= 3; ++round) {
            QVERIFY(s.tick());
            QCOMPARE(s.checks(), round);
            QCOMPARE(s.time->pending(), 1U);
        }
    }

    void aTickWhileACheckIsUnderWayStartsNoSecondOne() {
        UpdateScene s;
        std::atomic<bool> mayAnswer = false;
        s.downloads.server.on(manifestPath, [&](TestExchange &exchange) {
            while (!mayAnswer && exchange.pause(5)) {
            }
            exchange.reply(200, R"({"checkUpdateInterval": 3})");
        });
        s.create().scheduleUpdateTimer();
        s.time->advance(1h);
        QVERIFY(waitUntil([&] { return s.checks() == 1; }));
        QCOMPARE(s.time->pending(), 0U);
        // During a check the timer is off; started again, it ticks.
        s.vars->scheduleUpdateTimer();
        s.time->advance(1h);
        QCOMPARE(s.time->pending(), 1U);
        QCOMPARE(s.checks(), 1);
        mayAnswer = true;
        QVERIFY(waitUntil([&] { return s.time->nextDelay() == 3h; }));
        QCOMPARE(s.time->pending(), 1U);
    }

    void afterThePermanentStopATickOnlyRearmsTheTimerAndNothingIsReloaded() {
        UpdateScene s;
        s.serveManifest("{}");
        QVERIFY(s.bothRun());
        s.vars->scheduleUpdateTimer();
        kill(s.clientId(), SIGKILL);
        QVERIFY(waitUntil([&] { return s.vars->_isPermanentlyStopped.get(); }));
        s.time->advance(1h);
        QCOMPARE(s.time->pending(), 1U);  // during a check there would be no timer
        QVERIFY(s.time->nextDelay() == 1h);
        s.vars->reloadEngine();
        QCOMPARE(count(s.engineLog(), restarting), 0U);
    }

    void aCheckAsksForTheVersionOfTheManifestElseForTheDefault_data() {
        QTest::addColumn<QByteArray>("manifest");
        QTest::addColumn<QString>("version");
        QTest::newRow("named") << QByteArray(R"({"libreofficeversion": "25.8.1"})")
                               << QStringLiteral("25.8.1");
        QTest::newRow("not named") << QByteArray("{}") << QStringLiteral("26.2.4");
        QTest::newRow("null") << QByteArray(R"({"libreofficeversion": null})") << QStringLiteral("26.2.4");
        QTest::newRow("no manifest") << QByteArray("sorry") << QStringLiteral("26.2.4");
    }
    void aCheckAsksForTheVersionOfTheManifestElseForTheDefault() {
        QFETCH(QByteArray, manifest);
        QFETCH(QString, version);
        UpdateScene s;
        s.serveManifest(manifest);
        s.create().scheduleUpdateTimer();
        QVERIFY(s.tick());
        QVERIFY(s.waitForEngineLog("Will retry on the next check.\n"));
        QCOMPARE(s.downloads.server.requestCount(InstallationScene::metalinkPath(version)), 1);
        QCOMPARE(s.engineLog(),
                 "Fetching LibreOffice " + version.toStdString() +
                     " download info\u2026\n"
                     "LibreOffice install skipped: failed to download Metalink file. Will retry on "
                     "the next check.\n");
    }

    void aFailedCheckKeepsTheVersionThatWasLastKnown() {
        UpdateScene s;
        s.create().scheduleUpdateTimer();
        s.serveManifest(R"({"libreofficeversion": "25.8.1"})");
        QVERIFY(s.tick());
        QVERIFY(s.waitForEngineLog("Fetching LibreOffice 25.8.1"));
        QVERIFY(waitUntil([] { return !LibreOfficeInstaller::isInstalling(); }));
        s.serveManifest("sorry", 503);
        QVERIFY(s.tick());
        QVERIFY(waitUntil([&] { return count(s.engineLog(), "Fetching LibreOffice 25.8.1") == 2; }));
    }

    void aClearedVersionFallsBackToTheDefault() {
        UpdateScene s;
        s.create().scheduleUpdateTimer();
        s.serveManifest(R"({"libreofficeversion": "25.8.1"})");
        QVERIFY(s.tick());
        QVERIFY(s.waitForEngineLog("Fetching LibreOffice 25.8.1"));
        QVERIFY(waitUntil([] { return !LibreOfficeInstaller::isInstalling(); }));
        s.serveManifest(R"({"libreofficeversion": null})");
        QVERIFY(s.tick());
        QVERIFY(s.waitForEngineLog("Fetching LibreOffice 26.2.4"));
    }

    void aFailedInstallationLeavesTheEngineRunningAndIsRetriedAtTheNextTick() {
        UpdateScene s;
        s.serveManifest("{}");
        QVERIFY(s.bothRun());
        s.vars->scheduleUpdateTimer();
        const int engine = s.engineId();
        QVERIFY(s.tick());
        QVERIFY(s.waitForEngineLog("Will retry on the next check.\n"));
        QCOMPARE(s.engineId(), engine);
        QVERIFY(waitUntil([] { return !LibreOfficeInstaller::isInstalling(); }));
        s.downloads.publish({s.downloads.goodMirror()});
        QVERIFY(s.tick());
        QVERIFY(waitUntil([&] { return s.engineStarts() == 2; }));
    }

    void whatIsCurrentOrTheUsersOwnSaysNothingOfARestart() {
        UpdateScene s;
        QVERIFY(s.bothRun());
        fs::create_directories(s.application());
        s.vars->ensureLibreOffice();
        QVERIFY(s.waitForEngineLog(
            "LibreOffice is already installed (not by this launcher); leaving it in place.\n"));
        QVERIFY(waitUntil([&] { return s.downloads.recorded().has_value(); }));
        const std::string log = s.engineLog();
        s.vars->ensureLibreOffice();
        s.letTheMainQueueTurn();
        QCOMPARE(s.engineLog(), log);
        QCOMPARE(s.engineStarts(), 1U);
        QVERIFY(waitUntil([] { return !LibreOfficeInstaller::isInstalling(); }));
    }

    void aReloadWithoutAnEngineOrDuringAnotherDoesNothing() {
        UpdateScene s;
        s.create().reloadEngine();
        QCOMPARE(s.engineLog(), std::string());
        QVERIFY(s.bothRun());
        s.vars->reloadEngine();
        s.vars->reloadEngine();
        QVERIFY(waitUntil([&] { return s.engineStarts() == 2; }));
        s.waitForEngineLog("ready");
        QCOMPARE(count(s.engineLog(), restarting), 1U);
        QCOMPARE(s.engineStarts(), 2U);
    }

    void theNewEngineWaitsForTheOldOnesEndAndTheOldOnesLastWordsAreNotLogged() {
        UpdateScene s("slow-term 300");
        QVERIFY(s.bothRun());
        const int engine = s.engineId();
        s.vars->reloadEngine();
        QVERIFY(s.vars->_lump.get() == nullptr);
        bool everTogether = false;
        QVERIFY(waitUntil([&] {
            everTogether = everTogether || (s.vars->_isLumRunning && isAlive(engine));
            return s.engineStarts() == 2;
        }));
        QVERIFY(!everTogether);
        QCOMPARE(count(s.engineLog(), "ending"), 0U);
        QVERIFY(s.alerts->shown.empty());
    }

    void aQuitDuringAReloadStartsNoEngine() {
        UpdateScene s("ignore-term");
        QVERIFY(s.bothRun());
        const int old = s.engineId();
        s.vars->reloadEngine();
        s.vars->stopAll();
        kill(old, SIGKILL);
        QVERIFY(s.waitForClientLog("Qor Client terminated with status 15\n"));
        QVERIFY(waitUntil([] { return threadsNamed("utility") == 0; }));
        s.letTheMainQueueTurn();
        QCOMPARE(s.engineStarts(), 1U);
        QCOMPARE(count(s.engineLog(), "terminated"), 0U);  // its termination handler is removed
        QVERIFY(s.alerts->shown.empty());
    }

    void anEngineThatEndsByItselfDuringAReloadIsReplacedAndNoFailure() {
        UpdateScene s("ignore-term");
        QVERIFY(s.bothRun());
        const int old = s.engineId();
        s.vars->reloadEngine();
        kill(old, SIGSEGV);
        QVERIFY(waitUntil([&] { return s.engineStarts() == 2; }));
        QVERIFY(s.waitForEngineLog("ready"));
        QCOMPARE(count(s.engineLog(), "terminated"), 0U);
        QVERIFY(!s.vars->_isPermanentlyStopped);
        QVERIFY(s.alerts->shown.empty());
    }

    void anEngineWhoseOwnEndIsReportedDuringAReloadStopsTheLauncherForGood() {
        UpdateScene s;
        QVERIFY(s.bothRun());
        const auto old = s.vars->_lump.get();
        kill(old->processIdentifier(), SIGSEGV);
        old->waitUntilExit();  // its report is in the main queue now
        s.vars->reloadEngine();
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 11\n"));
        QVERIFY(s.vars->_isPermanentlyStopped);
        QVERIFY(waitUntil([] { return threadsNamed("utility") == 0; }));
        s.letTheMainQueueTurn();
        QCOMPARE(s.engineStarts(), 1U);
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void aCheckWhoseResultComesAfterAStopInstallsNothing_data() {
        QTest::addColumn<bool>("isQuit");
        QTest::newRow("a quit") << true;
        QTest::newRow("the permanent stop") << false;
    }
    void aCheckWhoseResultComesAfterAStopInstallsNothing() {
        QFETCH(bool, isQuit);
        UpdateScene s;
        std::atomic<bool> mayAnswer = false;
        s.downloads.server.on(manifestPath, [&](TestExchange &exchange) {
            while (!mayAnswer && exchange.pause(5)) {
            }
            exchange.reply(200, R"({"checkUpdateInterval": 3})");
        });
        QVERIFY(s.bothRun());
        s.vars->scheduleUpdateTimer();
        s.time->advance(1h);
        QVERIFY(waitUntil([&] { return s.checks() == 1; }));
        if (isQuit) {
            s.vars->stopAll();
        } else {
            kill(s.clientId(), SIGKILL);
            QVERIFY(waitUntil([&] { return s.vars->_isPermanentlyStopped.get(); }));
        }
        mayAnswer = true;
        QVERIFY(waitUntil([&] { return s.time->nextDelay() == 3h; }));
        s.letTheMainQueueTurn();
        QVERIFY(!LibreOfficeInstaller::isInstalling());
        QCOMPARE(s.downloads.server.requestCount(InstallationScene::metalinkPath()), 0);
        QCOMPARE(count(s.engineLog(), "LibreOffice"), 0U);
    }

    void afterAFatalErrorNothingIsInstalled() {
        UpdateScene s;
        fs::remove(s.tree.engine());
        s.start();
        s.vars->ensureLibreOffice();  // the next step of the start, whatever the result of this one
        s.letTheMainQueueTurn();
        QVERIFY(!LibreOfficeInstaller::isInstalling());
        QCOMPARE(s.engineLog(), std::string());
        QCOMPARE(s.downloads.server.connectionCount(), 0);
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void anInstallationThatIsUnderWayAtTheStopAsksForNoPassword() {
        UpdateScene s;
        std::atomic<bool> isMounting = false;
        std::atomic<bool> mayGoOn = false;
        s.downloads.tools->attach = [&](const fs::path &, const fs::path &mountPoint) {
            isMounting = true;
            waitWithoutEvents([&] { return mayGoOn.load(); });
            return fs::create_directory(mountPoint / "LibreOffice.app");
        };
        s.downloads.publish({s.downloads.goodMirror()});
        QVERIFY(s.bothRun());
        s.vars->ensureLibreOffice();
        QVERIFY(waitUntil([&] { return isMounting.load(); }));
        kill(s.clientId(), SIGKILL);
        QVERIFY(waitUntil([&] { return s.vars->_isPermanentlyStopped.get(); }));
        mayGoOn = true;
        QVERIFY(waitUntil([] { return !LibreOfficeInstaller::isInstalling(); }));
        s.letTheMainQueueTurn();
        QCOMPARE(s.downloads.prompt->asked, 0);
        QVERIFY(!s.downloads.recorded());
        // No line about the password, and none about a retry.
        QCOMPARE(count(s.engineLog(), "administrator authorization"), 0U);
        QCOMPARE(count(s.engineLog(), "install skipped"), 0U);
        QVERIFY(s.downloads.isTemporaryFolderEmpty());
    }

    void aSaveDuringAReloadStartsNoSecondEngine() {
        UpdateScene s("ignore-term");
        QVERIFY(s.bothRun());
        const int old = s.engineId();
        s.vars->reloadEngine();
        s.vars->startServices();  // as the settings form does after a save
        QCOMPARE(s.engineStarts(), 1U);
        QVERIFY(isAlive(old));
        QVERIFY(!s.vars->_isLumRunning);

        kill(old, SIGKILL);
        QVERIFY(waitUntil([&] { return s.engineStarts() == 2; }));
        QVERIFY(!isAlive(old));
        s.letTheMainQueueTurn();
        QCOMPARE(s.engineStarts(), 2U);
        QVERIFY(s.alerts->shown.empty());
    }

    void aSaveDuringAReloadStillStartsTheClientOnceTheNewEngineRuns() {
        UpdateScene s("ignore-term");
        s.tree.writeIdentity("", "");
        s.start();
        QVERIFY(s.waitForEngineLog("ready"));
        const int old = s.engineId();
        s.vars->reloadEngine();
        s.tree.writeIdentity("ada@example.org", "Ada Lovelace");
        s.vars->startServices();
        QCOMPARE(s.engineStarts(), 1U);
        kill(old, SIGKILL);
        QVERIFY(s.waitForClientLog("Qor Client started.\n"));
        QCOMPARE(s.engineStarts(), 2U);
    }

    void aClientThatEndsDuringAReloadStopsTheLauncherForGood() {
        UpdateScene s("ignore-term");
        QVERIFY(s.bothRun());
        const int engine = s.engineId();
        s.vars->reloadEngine();
        kill(s.clientId(), SIGKILL);
        QVERIFY(waitUntil([&] { return s.vars->_isPermanentlyStopped.get(); }));
        kill(engine, SIGKILL);
        QVERIFY(waitUntil([&] { return !isAlive(engine); }));
        // The thread that waited for its end has finished, and its result was handled.
        QVERIFY(waitUntil([] { return threadsNamed("utility") == 0; }));
        s.letTheMainQueueTurn();
        QCOMPARE(s.engineStarts(), 1U);
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void aSupervisorThatIsGoneMeanwhileIsNotMissed() {
        UpdateScene s("slow-term 200");
        s.downloads.server.on(manifestPath, TestHttpsServer::neverAnswers());
        s.downloads.publish({s.downloads.goodMirror()});
        QVERIFY(s.bothRun());
        s.vars->scheduleUpdateTimer();
        s.time->advance(1h);
        QVERIFY(waitUntil([&] { return s.checks() == 1; }));
        s.vars->ensureLibreOffice();
        QVERIFY(waitUntil([] { return LibreOfficeInstaller::isInstalling(); }));
        const auto client = s.vars->_qorcp.get();
        s.vars->reloadEngine();
        const std::weak_ptr<AppVars> observer = s.vars;
        s.vars.reset();
        QVERIFY(observer.expired());  // neither timer, check, installation nor reload holds it
        QVERIFY(waitUntil([] { return !LibreOfficeInstaller::isInstalling(); }));
        QCOMPARE(s.downloads.recorded(), std::optional(QStringLiteral("26.2.4")));
        s.time->advance(24h);
        client->terminate();
        client->waitUntilExit();
    }

    void theInstallersWorkQueueIsNamedAfterTheApplication() {
        UpdateScene s;
        QCOMPARE(s.create().libreOfficeInstaller->workQueue->label(),
                 std::string("io.ferrolt.miner-launcher.libreoffice-install"));
    }
};

TEST_CLASS(AppVarsUpdateCycleTest, QCoreApplication)
#include "AppVarsUpdateCycleTest.moc"
