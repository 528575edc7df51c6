#include "AppVars.h"
#include "Listener.h"
#include "ProcessFacts.h"
#include "Supervision.h"
#include "TestProgram.h"

#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <vector>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

std::vector<pid_t> asked;  ///< to terminate, in order
bool waitsForEnds = false;

}  // namespace

// Replaces the C library's function. With `waitsForEnds` it returns from a terminate request only after the
// child has ended and its output was read.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int kill(pid_t process, int signal) noexcept {
    if (signal == SIGTERM)
        asked.push_back(process);
    const int readers = threadsNamed("child-output");
    const int result = static_cast<int>(syscall(SYS_kill, process, signal));
    if (waitsForEnds)
        waitWithoutEvents([&] { return threadsNamed("child-output") < readers; });
    return result;
}

namespace {

std::size_t count(const std::string &text, const std::string &part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++found;
    return found;
}

/// A supervisor with both children running.
struct BothRunning : Supervision {
    const Listener port;

    explicit BothRunning(const std::string &engine = "wait", const std::string &client = "wait")
        : Supervision(engine, client) {
        tree.writeEnginePort(std::to_string(port.port));
        start();
    }
    bool ready() {
        return waitUntil([&] { return vars->_isQorClientRunning.get(); }) && waitForEngineLog("ready") &&
               waitForClientLog("ready");
    }
    int engineId() const { return vars->_lump.get()->processIdentifier(); }
    int clientId() const { return vars->_qorcp.get()->processIdentifier(); }
};

}  // namespace

/// Termination and stop, with real children.
class AppVarsTerminationTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aClientThatExitsWithThreeStopsTheEngineAndShowsExactlyOneAlert() {
        BothRunning s("wait", "exit-at-usr1 3");
        QVERIFY(s.ready());
        const int engine = s.engineId();
        kill(s.clientId(), SIGUSR1);
        QVERIFY(s.waitForClientLog("Qor Client terminated with status 3\n"));
        QVERIFY(s.vars->_isPermanentlyStopped);
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 15\n"));
        QVERIFY(waitUntil([&] { return !isAlive(engine); }));
        QCOMPARE(s.alerts->shown.size(), 1U);
        const Alert alert = s.alerts->shown.front();
        QCOMPARE(alert.style, AlertStyle::Warning);
        QCOMPARE(alert.messageText, QStringLiteral("Ferrolt Miner Launcher Stopped"));
        QCOMPARE(alert.informativeText,
                 QStringLiteral(
                     "Qor Client stopped (exit status 3).\n\nThe Ferrolt Miner Launcher is stopped. You must "
                     "restart the launcher app manually if you wish to retry running the two processes."));
        QCOMPARE(alert.button, QStringLiteral("OK"));
        s.alerts->dismiss(0);
        QCOMPARE(s.terminations, 0);  // the application stays
        QVERIFY(!s.vars->_isLumRunning);
        QVERIFY(!s.vars->_isQorClientRunning);
        QVERIFY(s.vars->_lump.get() == nullptr);
        QVERIFY(s.vars->_qorcp.get() == nullptr);
    }

    void quittingWhileBothRunEndsBothWithoutAnAlert() {
        BothRunning s;
        QVERIFY(s.ready());
        const int engine = s.engineId();
        const int client = s.clientId();
        s.vars->stopAll();
        QVERIFY(waitUntil([&] { return !isAlive(engine) && !isAlive(client); }));
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 15\n"));
        QVERIFY(s.waitForClientLog("Qor Client terminated with status 15\n"));
        QVERIFY(s.alerts->shown.empty());
        QVERIFY(!s.vars->_isPermanentlyStopped);
    }

    void theStopAsksTheEngineThenTheClientAndListensUntilThen() {
        BothRunning s("slow-term 0", "slow-term 0");
        QVERIFY(s.ready());
        const std::vector<pid_t> children{s.engineId(), s.clientId()};
        asked.clear();
        waitsForEnds = true;
        s.vars->stopAll();
        waitsForEnds = false;
        QCOMPARE(asked, children);
        QVERIFY(s.waitForEngineLog("ending\nLumora Core terminated with status 15\n"));
        QVERIFY(s.waitForClientLog("ending\nQor Client terminated with status 15\n"));
    }

    void afterAQuitNoWaitForThePortBegins() {
        Supervision s;
        s.create().stopAll();
        const int threads = threadsNamed("");
        s.vars->awaitEnginePort();
        QCOMPARE(threadsNamed(""), threads);
    }

    void stopAllDoesNotWaitForAChildThatIsSlowOrIgnoresIt() {
        BothRunning s("ignore-term", "slow-term 300");
        QVERIFY(s.ready());
        const int engine = s.engineId();
        const int client = s.clientId();
        const auto begin = std::chrono::steady_clock::now();
        s.vars->stopAll();
        QVERIFY(std::chrono::steady_clock::now() - begin < std::chrono::seconds(2));
        QVERIFY(!s.vars->_isLumRunning);
        QVERIFY(s.waitForClientLog("Qor Client terminated with status 15\n"));
        QVERIFY(!isAlive(client));
        QVERIFY(isAlive(engine));  // there is no escalation to SIGKILL
        kill(engine, SIGKILL);
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 9\n"));
        QVERIFY(s.alerts->shown.empty());
    }

    void anEngineThatDiesByASignalStopsForGood() {
        BothRunning s;
        QVERIFY(s.ready());
        kill(s.engineId(), SIGSEGV);
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 11\n"));
        QVERIFY(s.waitForClientLog("Qor Client terminated with status 15\n"));
        QCOMPARE(s.alerts->shown.size(), 1U);
        QVERIFY(
            s.alerts->shown.front().informativeText.startsWith("Lumora Core stopped (exit status 11).\n\n"));
        s.vars->startServices();
        Supervision::letTheBackgroundEnd();
        QVERIFY(!s.vars->_isLumRunning);
        QCOMPARE(count(s.engineLog(), "Lumora Core started."), 1U);
    }

    void anEngineThatEndsAtOnceStopsForGood() {
        Supervision s("exit 0");
        s.start();
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 0\n"));
        QVERIFY(s.vars->_isPermanentlyStopped);
        QCOMPARE(s.alerts->shown.size(), 1U);
        QCOMPARE(s.engineLog(), "Lumora Core started.\nLumora Core terminated with status 0\n");
    }

    void bothEndingAtTheSameMomentStillShowOneAlert() {
        BothRunning s;
        QVERIFY(s.ready());
        const auto engine = s.vars->_lump.get();
        const auto client = s.vars->_qorcp.get();
        kill(engine->processIdentifier(), SIGKILL);
        kill(client->processIdentifier(), SIGKILL);
        engine->waitUntilExit();  // both reports are in the main queue now
        client->waitUntilExit();
        QVERIFY(s.waitForEngineLog("terminated with status 9"));
        QVERIFY(s.waitForClientLog("terminated with status 9"));
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void theChildsLastWordsComeBeforeTheLineAboutItsEnd() {
        Supervision s("line-exit 7 goodbye");
        s.start();
        QVERIFY(s.waitForEngineLog("terminated"));
        QCOMPARE(s.engineLog(), "Lumora Core started.\ngoodbye\nLumora Core terminated with status 7\n");
    }

    void whatAChildSaysAfterTheStopIsNotShownButDoesNotBlockOrBreakIt() {
        BothRunning s("slow-term 50");
        QVERIFY(s.ready());
        s.vars->stopAll();
        // Status 15: it was not killed by SIGPIPE.
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 15\n"));
        QCOMPARE(count(s.engineLog(), "ending"), 0U);
    }

    void aChildThatFloodsIsStoppedAsAnyOther() {
        BothRunning s("flood", "wait");
        QVERIFY(s.waitForEngineLog("block "));
        QVERIFY(waitUntil([&] { return s.vars->lumoraLog().size() == 1000; }));
        s.vars->stopAll();
        QVERIFY(waitUntil([&] {
            return s.vars->lumoraLog().at(s.vars->lumoraLog().size() - 1) ==
                   "Lumora Core terminated with status 15\n";
        }));
    }

    void aChildThatClosesItsOutputRunsOn() {
        Supervision s("close-output");
        s.start();
        QVERIFY(s.waitForEngineLog("closing"));
        QVERIFY(waitUntil([] { return threadsNamed("child-output") == 0; }));
        Supervision::letTheMainQueueTurn();
        QVERIFY(s.vars->_isLumRunning);
        QVERIFY(s.vars->_lump.get()->isRunning());
        QVERIFY(s.alerts->shown.empty());
        kill(s.vars->_lump.get()->processIdentifier(), SIGKILL);
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 9\n"));
    }

    void aChildThatWritesNothingIsSupervisedAllTheSame() {
        Supervision s("silent");
        s.start();
        QCOMPARE(s.engineLog(), "Lumora Core started.\n");
        kill(s.vars->_lump.get()->processIdentifier(), SIGKILL);
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 9\n"));
    }

    void aGrandchildOnThePipeDelaysNothing() {
        Supervision s("grandchild");
        s.start();
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 0\n"));
        const std::string log = s.engineLog();
        const int grandchild = std::stoi(log.substr(log.find("grandchild=") + 11));
        QVERIFY(isAlive(grandchild));
        kill(grandchild, SIGKILL);
    }

    void everyFlagIsAnnouncedBeforeItChanges() {
        BothRunning s;
        QVERIFY(s.ready());
        QStringList seen;
        connect(s.vars.get(), &AppVars::objectWillChange, this, [&] {
            seen << QString("%1%2")
                        .arg(int(s.vars->_isLumRunning.get()))
                        .arg(int(s.vars->_isQorClientRunning.get()));
        });
        s.vars->stopAll();
        // Two processes, then two flags: each announced while it still has its old value.
        QCOMPARE(seen, (QStringList{"11", "11", "11", "01"}));
        disconnect(s.vars.get(), nullptr, this, nullptr);
    }

    void manyLivesOfASupervisorLeaveNoThreadNoDescriptorAndNoZombie() {
        QVERIFY(waitUntil([&] { return threadsNamed("child-") == 0; }));  // threads of the tests before
        Supervision::letTheBackgroundEnd();
        const int descriptors = openDescriptors();
        for (int i = 0; i < 40; ++i) {
            Supervision s(i % 2 == 0 ? "wait" : "flood");
            s.start();
            if (i % 3 == 0)
                QVERIFY(waitUntil([&] { return s.vars->lumoraLog().size() > 1; }));
        }
        QVERIFY(waitUntil([&] { return threadsNamed("child-") == 0; }));
        QCOMPARE(openDescriptors(), descriptors);
        QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1);
    }
};

TEST_CLASS(AppVarsTerminationTest, QCoreApplication)
#include "AppVarsTerminationTest.moc"
