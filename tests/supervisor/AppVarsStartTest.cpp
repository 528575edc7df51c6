#include "AppVars.h"
#include "Listener.h"
#include "ProcessFacts.h"
#include "Supervision.h"
#include "TestProgram.h"

#include <QTest>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

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
        const FileDescriptor port(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const int on = 1;
        setsockopt(port.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in at{};
        at.sin_family = AF_INET;
        at.sin_port = htons(9877);
        at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (bind(port.get(), reinterpret_cast<sockaddr *>(&at), sizeof at) != 0)
            QSKIP("Somebody else has the port that is probed.");
        QCOMPARE(listen(port.get(), 1), 0);
        Supervision s;
        s.start();
        QVERIFY(s.waitForClientLog("accepting connections on 127.0.0.1:9877; starting Qor Client.\n"));
        char byte = 0;
        const FileDescriptor probe(accept(port.get(), nullptr, nullptr));
        QCOMPARE(recv(probe.get(), &byte, 1, 0), ssize_t(0));
    }

    void thePortIsProbedAtOnceAndThenEvery250Milliseconds() {
        ClosedPort port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        s.start();
        for (int probe = 0; probe < 3; ++probe) {
            QVERIFY(waitUntil([&] { return s.time->sleeping() == 1; }));
            QCOMPARE(s.time->lastSleep().count(), std::chrono::nanoseconds(250ms).count());
            if (probe == 2)
                QCOMPARE(listen(port.socket.get(), 1), 0);
            s.time->advance(250ms);
            QVERIFY(waitUntil([&] { return probe == 2 || s.time->sleeping() == 1; }));
        }
        QVERIFY(s.waitForClientLog("accepting connections"));
    }

    void whatAChildWritesToItsStandardErrorIsInItsLog() {
        const Listener port;
        Supervision s("complain engine-trouble", "complain client-trouble");
        s.tree.writeEnginePort(std::to_string(port.port));
        s.start();
        QVERIFY(s.waitForEngineLog("\nengine-trouble\n"));
        QVERIFY(s.waitForClientLog("\nclient-trouble\n"));
    }

    void aMissingPortFileMakesItNameThatPortWhenTheWaitIsOver() {
        Supervision s;
        s.start();
        QVERIFY(s.letThePortWaitRunOut());
        QCOMPARE(
            s.vars->qorClientLog().at(0),
            LogElement("Lumora Core did not open 127.0.0.1:9877 within 30s; starting Qor Client anyway.\n"));
    }

    void withNothingListeningTheClientStartsAfterThirtySecondsAllTheSame() {
        const ClosedPort closed;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(closed.port));
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
        QCOMPARE(threadsNamed("background"), 1);
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
        s.letTheBackgroundEnd();
        QVERIFY(vars.qorClientLog().isEmpty());
        QVERIFY(!vars._isQorClientRunning);
    }

    void aStopDuringTheWaitStartsNoClient() {
        Supervision s;
        s.tree.writeEnginePort("1");
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return s.time->sleeping() == 1; }));
        vars.stopAll();
        s.time->advance(31s);
        s.letTheBackgroundEnd();
        QVERIFY(vars.qorClientLog().isEmpty());
        QVERIFY(!vars._isQorClientRunning);
        QVERIFY(s.alerts->shown.empty());
    }

    void withAnIncompleteIdentityTheEngineRunsAloneAndNothingIsSaid() {
        const Listener port;  // with it a wrong start of the client would come at once
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        s.tree.writeIdentity("ada@example.org", " \t ");
        AppVars &vars = s.start();
        QVERIFY(vars._isLumRunning);
        s.letTheBackgroundEnd();
        QVERIFY(!vars._isQorClientRunning);
        QVERIFY(vars.qorClientLog().isEmpty());
        QVERIFY(s.alerts->shown.empty());
        // With a complete identity the next call starts the client alone.
        s.tree.writeIdentity("ada@example.org", "Ada Lovelace");
        const int engine = vars._lump.get()->processIdentifier();
        vars.startServices();
        QVERIFY(waitUntil([&] { return vars._isQorClientRunning.get(); }));
        QCOMPARE(vars._lump.get()->processIdentifier(), engine);
    }

    void afterTheEngineAloneWasRestartedThereIsANewWaitForItsPort() {
        Supervision s;
        s.tree.writeIdentity("", "");
        s.tree.writeEnginePort("1");
        AppVars &vars = s.start();
        QVERIFY(s.waitForEngineLog("ready"));
        s.tree.writeIdentity("ada@example.org", "Ada Lovelace");
        vars.reloadEngine();
        QVERIFY(waitUntil([&] { return s.time->sleeping() == 1; }));
        QVERIFY(vars._isLumRunning);
        QCOMPARE(threadsNamed("background"), 1);
        QVERIFY(s.letThePortWaitRunOut());
        QVERIFY(vars._isQorClientRunning);
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
        s.letTheBackgroundEnd();
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

    void theResultOfAWaitIsDroppedWhenTheLauncherIsGone() {
        Supervision s;
        s.tree.writeEnginePort("1");
        s.start();
        QVERIFY(waitUntil([&] { return s.time->sleeping() == 1; }));
        const auto engine = s.vars->_lump.get();
        s.vars->stopAll();
        const std::weak_ptr<AppVars> observer = s.vars;
        s.vars.reset();
        QVERIFY(observer.expired());  // only the application holds it strongly
        s.time->advance(1s);
        QVERIFY(waitUntil([&] { return s.time->sleeping() == 0; }));
        QCOMPARE(engine->waitUntilExit(), SIGTERM);
        Supervision::letTheBackgroundEnd();  // its result is dropped
    }
};

TEST_CLASS(AppVarsStartTest, QCoreApplication)
#include "AppVarsStartTest.moc"
