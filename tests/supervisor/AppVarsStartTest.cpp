#include "AppVars.h"
#include "Listener.h"
#include "ProcessFacts.h"
#include "Supervision.h"

#include <QTest>

#include <csignal>
#include <filesystem>

#include <sys/resource.h>

using namespace ferrolt;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

/// The start sequence, with real children, files and sockets.
class AppVarsStartTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theEngineStartsFirstThenThePortThenTheClient() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        AppVars &vars = s.start();
        QVERIFY(vars._isLumRunning);
        QVERIFY(!vars._isQorClientRunning);
        QCOMPARE(vars.lumoraLog().at(0), LogElement("Lumora Core started.\n"));
        QVERIFY(waitUntil([&] { return vars._isQorClientRunning.get(); }));
        QCOMPARE(vars.qorClientLog().at(0), "Lumora Core is accepting connections on 127.0.0.1:" +
                                                QByteArray::number(qint64(port.port)) +
                                                "; starting Qor Client.\n");
        QCOMPARE(vars.qorClientLog().at(1), LogElement("Qor Client started.\n"));
        QVERIFY(vars._lump.get()->isRunning());
        QVERIFY(vars._qorcp.get()->isRunning());
        QVERIFY(s.alerts->shown.empty());
    }

    void thePortOfTheFileIsTheOneThatIsProbed() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return vars._isQorClientRunning.get(); }));
        char byte = 0;
        const FileDescriptor probe(accept(port.socket.get(), nullptr, nullptr));
        QCOMPARE(recv(probe.get(), &byte, 1, 0), ssize_t(0));
    }

    void aMissingPortFileMakesItProbe9877() {
        Supervision s;
        s.start();
        QVERIFY(s.letThePortWaitRunOut());
        QCOMPARE(
            s.vars->qorClientLog().at(0),
            LogElement("Lumora Core did not open 127.0.0.1:9877 within 30s; starting Qor Client anyway.\n"));
    }

    void withNothingListeningTheClientStartsAfterThirtySecondsAllTheSame() {
        std::int64_t closed = Listener().port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(closed));
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return s.time->sleeping() > 0; }));
        const auto before = s.time->now();
        QVERIFY(s.letThePortWaitRunOut());
        QCOMPARE(std::chrono::duration_cast<std::chrono::milliseconds>(s.time->now() - before).count(),
                 30000);
        QVERIFY(vars._isQorClientRunning);
        QVERIFY(s.waitForClientLog("Qor Client started.\n"));
    }

    void aPortAbove65535IsNotReachableAndTheWaitStillEnds() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port + 65536));
        s.start();
        QVERIFY(s.letThePortWaitRunOut());
        QVERIFY(s.clientLog().find(std::to_string(port.port + 65536) + " within 30s") != std::string::npos);
    }

    void aSecondWaitDuringAWaitDoesNothing() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort("1");  // nobody listens there
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return s.time->sleeping() == 1; }));
        s.tree.writeEnginePort(std::to_string(port.port));  // a second wait would find this one at once
        vars.awaitEnginePort();
        vars.startServices();
        QTest::qWait(50);
        QCOMPARE(s.time->sleeping(), 1);
        QVERIFY(s.letThePortWaitRunOut());
        QVERIFY(s.clientLog().find("127.0.0.1:1 within") != std::string::npos);
        QCOMPARE(s.clientLog().find("accepting connections"), std::string::npos);
    }

    void aChildThatEndsDuringTheWaitMakesItsResultDoNothing() {
        Supervision s;
        s.tree.writeEnginePort("1");
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return s.time->sleeping() == 1; }));
        kill(vars._lump.get()->processIdentifier(), SIGKILL);
        QVERIFY(waitUntil([&] { return vars._isPermanentlyStopped.get(); }));
        s.time->advance(31s);
        QVERIFY(waitUntil([&] { return s.time->sleeping() == 0; }));
        QTest::qWait(50);
        QVERIFY(vars.qorClientLog().isEmpty());
        QVERIFY(!vars._isQorClientRunning);
    }

    void withAnIncompleteIdentityTheEngineRunsAloneAndNothingIsSaid() {
        Supervision s;
        s.tree.writeIdentity("ada@example.org", " \t ");
        AppVars &vars = s.start();
        QVERIFY(vars._isLumRunning);
        QTest::qWait(20);
        QVERIFY(!vars._isQorClientRunning);
        QVERIFY(vars.qorClientLog().isEmpty());
        QVERIFY(s.alerts->shown.empty());
        // The form was filled in: the next request starts the client alone.
        const Listener port;
        s.tree.writeEnginePort(std::to_string(port.port));
        s.tree.writeIdentity("ada@example.org", "Ada Lovelace");
        const int engine = vars._lump.get()->processIdentifier();
        vars.startServices();
        QVERIFY(waitUntil([&] { return vars._isQorClientRunning.get(); }));
        QCOMPARE(vars._lump.get()->processIdentifier(), engine);
    }

    void whileBothRunAnotherStartDoesNothing() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return vars._isQorClientRunning.get(); }));
        const auto engine = vars._lump.get();
        const auto client = vars._qorcp.get();
        vars.startServices();
        vars.startServices();
        QTest::qWait(20);
        QCOMPARE(vars._lump.get(), engine);
        QCOMPARE(vars._qorcp.get(), client);
    }

    void theClientGetsTheVariableFolderWhichIsCreatedAndItsWorkingFolder() {
        const Listener port;
        Supervision s("wait", "facts-wait");
        fs::create_directories(s.tree.path() / "root/Users/Shared/Ferrolt/qorclient");
        s.tree.writeEnginePort(std::to_string(port.port));
        s.start();
        QVERIFY(s.waitForClientLog("ready"));
        const std::string facts = s.clientLog();
        QVERIFY(facts.find("\nargc=3\n") != std::string::npos);
        QVERIFY(facts.find("\nargv[1]=--vardir\n") != std::string::npos);
        QVERIFY(facts.find("\nargv[2]=" + (s.tree.path() / "home/.qor/nodes.test").string() + '\n') !=
                std::string::npos);
        QVERIFY(facts.find("\ncwd=" + (s.tree.path() / "root/Users/Shared/Ferrolt/qorclient").string() +
                           '\n') != std::string::npos);
        QVERIFY(fs::is_directory(s.tree.path() / "home/.qor/nodes.test"));
    }

    void theEngineGetsNoArgumentsAndItsBinFolder() {
        Supervision s("facts-wait");
        s.start();
        QVERIFY(s.waitForEngineLog("ready"));
        QVERIFY(s.engineLog().find("\nargc=1\n") != std::string::npos);
        QVERIFY(s.engineLog().find("\ncwd=" + s.tree.engine().parent_path().string() + '\n') !=
                std::string::npos);
    }

    void anEngineThatCannotStartEndsInTheFatalAlert_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing") << "missing"
                                 << "Orbix binary not found at %1";
        QTest::newRow("not executable") << "plain"
                                        << "Failed to start Lumora Core: Permission denied";
        QTest::newRow("a folder") << "folder"
                                  << "Failed to start Lumora Core: Permission denied";
        QTest::newRow("a script without interpreter")
            << "script"
            << "Failed to start Lumora Core: No such file or directory";
        QTest::newRow("a binary of another machine") << "foreign"
                                                     << "Failed to start Lumora Core: Exec format error";
    }
    void anEngineThatCannotStartEndsInTheFatalAlert() {
        QFETCH(QString, kind);
        QFETCH(QString, message);
        Supervision s;
        const fs::path engine = s.tree.engine();
        if (kind == "plain") {
            fs::permissions(engine, fs::perms::owner_read);
        } else {
            fs::remove(engine);
            if (kind == "folder")
                fs::create_directory(engine);
            if (kind == "script" || kind == "foreign") {
                TestTree::write(engine, kind == "script" ? "#!/no/such/interpreter\n" : foreignBinary());
                fs::permissions(engine, fs::perms::owner_all);
            }
        }
        // Without the file, the folder that is not tested is the one that is named.
        const fs::path named = s.tree.path() / "dev/Tandril/LumoraCore/Bin/MediaEngine/Orbix";
        AppVars &vars = s.start();
        QVERIFY(s.alerts->shown.empty());  // it comes after the current work
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        const Alert alert = s.alerts->shown.front();
        QCOMPARE(alert.style, AlertStyle::Critical);
        QCOMPARE(alert.messageText, QStringLiteral("Ferrolt Miner Launcher Error"));
        QCOMPARE(alert.informativeText, message.contains("%1") ? message.arg(named.c_str()) : message);
        QCOMPARE(alert.button, QStringLiteral("Exit"));
        QVERIFY(!vars._isLumRunning);
        QVERIFY(!vars._isQorClientRunning);
        QVERIFY(vars.lumoraLog().isEmpty());
        QCOMPARE(s.terminations, 0);
        s.alerts->dismiss(0);
        QCOMPARE(s.terminations, 1);
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void aClientThatIsMissingEndsInTheFatalAlertAndTheEngineIsNotLeftRunning() {
        Supervision s;
        fs::remove(s.tree.client());
        AppVars &vars = s.create();
        vars.startServices();
        QVERIFY(!vars._isLumRunning);
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        QCOMPARE(s.alerts->shown.front().informativeText,
                 QStringLiteral("Qor Client executable not found at ") + s.tree.client().c_str());
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 15\n"));
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void aClientThatCannotStartEndsInTheFatalAlertAndTheEngineIsNotLeftRunning() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        fs::permissions(s.tree.client(), fs::perms::owner_read);
        AppVars &vars = s.start();
        const int engine = vars._lump.get()->processIdentifier();
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        QCOMPARE(s.alerts->shown.front().informativeText,
                 QStringLiteral("Failed to start Qor Client: Permission denied"));
        QVERIFY(waitUntil([&] { return !isAlive(engine); }));
        QVERIFY(!vars._isLumRunning);
        QVERIFY(!vars._isQorClientRunning);
        QCOMPARE(s.clientLog().find("Qor Client started."), std::string::npos);
    }

    void afterAFatalErrorNothingIsStartedAgain() {
        Supervision s;
        fs::remove(s.tree.client());
        AppVars &vars = s.start();
        vars.startServices();  // a second press that was queued before the alert came up
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        vars.startServices();
        QTest::qWait(20);
        QVERIFY(!vars._isLumRunning);
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void withoutADescriptorToSpareTheStartEndsInTheFatalAlert() {
        Supervision s;
        s.create();
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit none = before;
        none.rlim_cur = 4;
        setrlimit(RLIMIT_NOFILE, &none);
        s.vars->startServices();
        setrlimit(RLIMIT_NOFILE, &before);
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        QVERIFY(s.alerts->shown.front().informativeText.startsWith("Failed to start Lumora Core: "));
    }

    void theResultOfAWaitIsDroppedWhenTheLauncherIsGone() {
        Supervision s;
        s.tree.writeEnginePort("1");
        s.start();
        QVERIFY(waitUntil([&] { return s.time->sleeping() == 1; }));
        const auto engine = s.vars->_lump.get();
        s.vars->stopAll();
        const std::weak_ptr<AppVars> observer = s.vars;
        s.vars.reset();
        QVERIFY(observer.expired());  // nothing but the application holds it
        s.time->advance(1s);
        QVERIFY(waitUntil([&] { return s.time->sleeping() == 0; }));
        QCOMPARE(engine->waitUntilExit(), SIGTERM);
        QTest::qWait(20);
    }

  private:
    static std::string foreignBinary() {
        std::ifstream file(FERROLT_PRACTICE_CHILD, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(file)), {});
        bytes[18] = '\x16';  // the machine in the ELF header
        bytes[19] = '\0';
        return bytes;
    }
};

QTEST_GUILESS_MAIN(AppVarsStartTest)
#include "AppVarsStartTest.moc"
