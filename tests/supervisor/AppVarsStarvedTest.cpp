#include "AppVars.h"
#include "InChild.h"
#include "Listener.h"
#include "Supervision.h"
#include "TestProgram.h"

#include <QTest>

#include <sys/resource.h>

using namespace ferrolt;
using namespace std::chrono_literals;

/// A system that has no thread left, as when the miner uses all of them.
class AppVarsStarvedTest : public QObject {
    Q_OBJECT

    /// While this object lives, no thread and no process can be created.
    struct Starvation {
        rlimit before{};
        Starvation() {
            getrlimit(RLIMIT_NPROC, &before);
            rlimit none = before;
            none.rlim_cur = 0;
            setrlimit(RLIMIT_NPROC, &none);
        }
        ~Starvation() { setrlimit(RLIMIT_NPROC, &before); }
    };

    /// Runs the steps in a child process as an ordinary user, since limits do not apply to root. Returns the
    /// number of the first step that failed.
    template <class Steps>
    static int supervised(Steps steps) {
        return inChild([&] {
            Supervision s;
            if (!obeyLimits())
                return 100;
            return steps(s);
        });
    }

  private Q_SLOTS:
    void theWaitForThePortGoesOnWhenThereIsAThreadAgain() {
        const Listener port;
        const int failed = supervised([&](Supervision &s) {
            s.tree.writeEnginePort(std::to_string(port.port));
            s.tree.writeIdentity("", "");
            AppVars &vars = s.start();
            if (!s.waitForEngineLog("ready"))
                return 1;
            s.tree.writeIdentity("ada@example.org", "Ada Lovelace");
            {
                const Starvation starvation;
                vars.startServices();
                if (s.time->pending() != 1 || s.time->nextDelay() != 250ms)
                    return 2;
                s.time->advance(250ms);
                if (s.time->pending() != 1)
                    return 3;
            }
            s.time->advance(250ms);
            return s.waitForClientLog("accepting connections") && s.waitForClientLog("ready") ? 0 : 4;
        });
        QCOMPARE(failed, 0);
    }

    void theWaitForThePortEndsAfterThirtySecondsWithoutOneThread() {
        const int failed = supervised([](Supervision &s) {
            s.tree.writeIdentity("", "");
            AppVars &vars = s.start();
            if (!s.waitForEngineLog("ready"))
                return 1;
            s.tree.writeIdentity("ada@example.org", "Ada Lovelace");
            const Starvation starvation;
            vars.startServices();
            s.time->advance(29s);
            if (!s.clientLog().empty())
                return 2;
            s.time->advance(2s);
            return s.clientLog().find("did not open") != std::string::npos ? 0 : 3;
        });
        QCOMPARE(failed, 0);
    }

    void aReloadIsFinishedWhenThereIsAThreadAgain() {
        const Listener port;
        const int failed = supervised([&](Supervision &s) {
            s.tree.writeEnginePort(std::to_string(port.port));
            AppVars &vars = s.start();
            if (!s.waitForClientLog("ready") || !s.waitForEngineLog("ready"))
                return 1;
            const int before = vars._lump.get()->processIdentifier();
            const int client = vars._qorcp.get()->processIdentifier();
            {
                const Starvation starvation;
                vars.reloadEngine();
                if (s.time->pending() != 1)
                    return 2;
            }
            s.time->advance(250ms);
            if (!waitUntil([&] { return vars._isLumRunning.get(); }))
                return 3;
            return vars._lump.get()->processIdentifier() != before &&
                           vars._qorcp.get()->processIdentifier() == client
                       ? 0
                       : 4;
        });
        QCOMPARE(failed, 0);
    }
};

TEST_CLASS(AppVarsStarvedTest, QCoreApplication)
#include "AppVarsStarvedTest.moc"
