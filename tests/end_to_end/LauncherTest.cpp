#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "ProcessFacts.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program in a real window on a virtual desktop, observed only from outside.
class LauncherTest : public QObject {
    Q_OBJECT

    VirtualDesktop desktop;

    static bool bothRun(const Launcher &launcher) {
        return launcher.child("Orbix") && launcher.child("qorclient");
    }
    bool waitForConsole(const Launcher &launcher, const QString &title, const QString &text) const {
        return waitUntil([&] { return launcher.consoleText(title).contains(text); });
    }
    static bool waitForWindow(const Launcher &launcher, const QString &title) {
        return waitUntil([&] { return launcher.visibleWindows().contains(title); });
    }

    /// Whether one of its windows has the focus.
    bool isActive(const Launcher &launcher) const {
        return desktop.run("xdotool", {"getactivewindow", "getwindowpid"}).trimmed() ==
               QString::number(launcher.id());
    }
    /// Starts the program a second time and waits until the window has the focus.
    bool openWindow(const Launcher &launcher) const {
        return launcher.startAgain() == 0 && waitForWindow(launcher, "Ferrolt Miner Launcher") &&
               waitUntil([&] { return isActive(launcher); });
    }

  private Q_SLOTS:
    void initTestCase() { QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure())); }

    void cleanup() {
        if (QTest::currentTestFailed())
            desktop.takePicture(QString("%1/%2.png").arg(FERROLT_PICTURES, QTest::currentTestFunction()));
    }

    /// With the practice tree of a checkout.
    void theEngineStartsThenItsPortOpensThenTheClientStartsAndBothWriteIntoTheirConsoles() {
        QVERIFY2(!isListening(9877), "somebody else uses the engine's port");
        const QTemporaryDir home;
        TestTree::write(
            home.path().toStdString() + "/.qor/" + FERROLT_NODE_SERVER_HOST + "/MinerClient.properties",
            "MinerEmailAddress = ada@example.org\nMinerEntityName = Ada Lovelace\n");
        Launcher launcher(desktop, FERROLT_LAUNCHER, home.path().toStdString());

        std::optional<ChildFacts> engine;
        QVERIFY(waitWithoutEvents([&] { return (engine = launcher.child("Orbix")).has_value(); }, 60s));
        QVERIFY(!launcher.child("qorclient"));
        QVERIFY(waitWithoutEvents([&] { return launcher.child("qorclient") || isListening(9877); }));
        QVERIFY(isListening(9877));  // the engine listened before the client was started
        std::optional<ChildFacts> client;
        QVERIFY(waitWithoutEvents([&] { return (client = launcher.child("qorclient")).has_value(); }));
        QVERIFY(engine->startTime < client->startTime);

        QVERIFY(launcher.visibleWindows().isEmpty());  // a complete identity leaves the window closed
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitForWindow(launcher, "Ferrolt Miner Launcher"));
        QVERIFY(waitForConsole(launcher, "Lumora Core Engine", "practice"));
        QVERIFY(waitForConsole(launcher, "Qor Client", "practice"));
        const QString engineLog = launcher.consoleText("Lumora Core Engine");
        const QString clientLog = launcher.consoleText("Qor Client");
        QVERIFY2(engineLog.startsWith("Lumora Core started.\n"), qPrintable(engineLog));
        QVERIFY2(clientLog.startsWith("Lumora Core is accepting connections on 127.0.0.1:9877; starting Qor "
                                      "Client.\nQor Client started.\n"),
                 qPrintable(clientLog));
        QVERIFY(!engineLog.contains(QChar::ReplacementCharacter));
    }

    void withNothingListeningTheClientStartsThirtyRealSecondsLater() {
        InstalledTree tree("wait", "wait");
        const ClosedPort closed;
        tree.writeEnginePort(std::to_string(closed.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitWithoutEvents([&] { return launcher.child("Orbix").has_value(); }, 60s));
        QElapsedTimer waited;
        waited.start();
        QVERIFY(waitWithoutEvents([&] { return launcher.child("qorclient").has_value(); }, 60s));
        QVERIFY2(waited.elapsed() > 29'000 && waited.elapsed() < 33'000,
                 qPrintable(QString::number(waited.elapsed())));
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(
            waitForConsole(launcher, "Qor Client",
                           QString("Lumora Core did not open 127.0.0.1:%1 within 30s; starting Qor Client "
                                   "anyway.\nQor Client started.")
                               .arg(closed.port)));
    }

    void anIncompleteIdentityBringsUpTheWindowAndTheAlert() {
        InstalledTree tree("wait", "wait");
        tree.writeIdentity("  ");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitForWindow(launcher, "Ferrolt Miner Launcher"));
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 2; }));  // and the alert
        QVERIFY(waitUntil([&] { return isActive(launcher); }));
        QVERIFY(waitWithoutEvents([&] { return launcher.child("Orbix").has_value(); }, 60s));
        QVERIFY(!launcher.child("qorclient"));
    }

    void aMissingEngineEndsInTheFatalAlertWhoseButtonEndsTheProgram() {
        InstalledTree tree("wait", "wait");
        std::filesystem::remove(tree.resources() / "Tandril/LumoraCore/MediaEngine/Orbix");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 1; }, 60s));
        QVERIFY(!launcher.child("qorclient"));
        QVERIFY(waitUntil([&] {
            desktop.run("xdotool", {"key", "Return"});
            return !launcher.isRunning();
        }));
        QCOMPARE(launcher.program().exitCode(), 0);
    }

    void aSignalQuitsItAndBothChildrenAreAskedToEnd_data() {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
    void aSignalQuitsItAndBothChildrenAreAskedToEnd() {
        QFETCH(int, signal);
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        const pid_t client = launcher.child("qorclient")->id;
        kill(launcher.id(), signal);
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.program().exitCode(), 0);
        QVERIFY(waitUntil([&] { return !isAlive(engine) && !isAlive(client); }));
    }

    /// nohup sets SIGHUP to SIG_IGN, so that the program survives its terminal.
    void aHangUpThatWasIgnoredFromTheBeginningStaysIgnored() {
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        const auto before = std::signal(SIGHUP, SIG_IGN);
        Launcher launcher(desktop, tree.executable(), tree.home());
        std::signal(SIGHUP, before);
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        kill(launcher.id(), SIGHUP);
        // The program still responds, with the same child, after the time in which it would have ended.
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitForWindow(launcher, "Ferrolt Miner Launcher"));
        QVERIFY(launcher.isRunning());
        QCOMPARE(launcher.child("Orbix")->id, engine);
    }

    /// As a service manager or a script may start it.
    void startedWithoutDescriptorsOrATemporaryFolderItProvidesForItself() {
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        const std::string script = tree.tree.path() / "bin/start";
        TestTree::write(
            script, "#!/bin/sh\nTMPDIR=/missing exec '" + tree.executable().string() + "' 0<&- 1>&- 2>&-\n");
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        Launcher launcher(desktop, script, tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const std::string facts = "/proc/" + std::to_string(launcher.id());
        for (const char *descriptor : {"0", "1", "2"})
            QCOMPARE(std::filesystem::read_symlink(facts + "/fd/" + descriptor), "/dev/null");
        const auto ignored = [](pid_t process, int signal) {
            return (ignoredSignals(process) >> (signal - 1) & 1U) != 0;
        };
        QVERIFY(ignored(launcher.id(), SIGXFSZ) && ignored(launcher.id(), SIGPIPE));
        const pid_t engine = launcher.child("Orbix")->id;
        QVERIFY(!ignored(engine, SIGXFSZ) && !ignored(engine, SIGPIPE));
        QFile environment(QString("/proc/%1/environ").arg(engine));
        QVERIFY(environment.open(QIODevice::ReadOnly));
        const QByteArray given = environment.readAll();
        QVERIFY(given.contains("HOME=") && !given.contains("TMPDIR="));
    }

    void theWindowClosedLeavesBothChildrenRunning_data() {
        QTest::addColumn<QString>("keys");
        QTest::newRow("the program's") << "ctrl+w";
        QTest::newRow("the window manager's") << "alt+F4";
    }
    void theWindowClosedLeavesBothChildrenRunning() {
        QFETCH(QString, keys);
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        const pid_t client = launcher.child("qorclient")->id;
        QVERIFY(openWindow(launcher));
        desktop.run("xdotool", {"key", keys});
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().isEmpty(); }));
        QVERIFY(openWindow(launcher));
        QCOMPARE(launcher.child("Orbix")->id, engine);
        QCOMPARE(launcher.child("qorclient")->id, client);
    }

    /// The last of its windows to go is the alert.
    void anAlertDismissedAfterTheWindowWasClosedLeavesTheProgramRunning() {
        InstalledTree tree("wait", "wait");
        tree.writeIdentity("");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 2; }, 60s));
        QVERIFY(waitUntil([&] { return launcher.child("Orbix").has_value(); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        QVERIFY(waitUntil([&] { return isActive(launcher); }));
        desktop.run("xdotool", {"key", "Return"});
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 1; }));
        QVERIFY(waitUntil([&] { return isActive(launcher); }));
        desktop.run("xdotool", {"key", "ctrl+w"});
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().isEmpty(); }));
        // Reopening the window without an identity shows the alert again.
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 2; }));
        QCOMPARE(launcher.child("Orbix")->id, engine);
    }

    void controlQQuits() {
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        const pid_t client = launcher.child("qorclient")->id;
        QVERIFY(openWindow(launcher));
        desktop.run("xdotool", {"key", "ctrl+q"});
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.program().exitCode(), 0);
        QVERIFY(waitUntil([&] { return !isAlive(engine) && !isAlive(client); }));
    }

    void aSecondStartBringsItsWindowToTheUser_data() {
        QTest::addColumn<QString>("from");
        QTest::newRow("covered") << "below another";
        QTest::newRow("minimized") << "the task bar";
        QTest::newRow("on another workspace") << "another workspace";
    }
    void aSecondStartBringsItsWindowToTheUser() {
        QFETCH(QString, from);
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(openWindow(launcher));
        QProcess other;
        const auto end = qScopeGuard([&] {
            other.terminate();
            other.waitForFinished();
            desktop.run("xdotool", {"set_desktop", "0"});
        });
        if (from == "the task bar") {
            desktop.run("xdotool", {"getactivewindow", "windowminimize"});
            QVERIFY(waitUntil([&] { return launcher.visibleWindows().isEmpty(); }));
        } else {
            if (from == "another workspace")
                desktop.run("xdotool", {"set_desktop", "1"});
            other.setProcessEnvironment(desktop.environment(tree.home().c_str()));
            other.start("display", {"-size", "1200x700", "xc:gray"});
            QVERIFY(waitUntil([&] {
                return desktop.run("xdotool", {"getactivewindow", "getwindowname"}).contains("gray");
            }));
            desktop.run("xdotool", {"key", "Shift_L"});  // user input for the other program
        }
        QVERIFY(waitUntil([&] { return !isActive(launcher); }));
        const QString workspace = desktop.run("xdotool", {"get_desktop"});
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitUntil([&] { return isActive(launcher); }));
        QVERIFY(launcher.visibleWindows().contains("Ferrolt Miner Launcher"));
        QCOMPARE(desktop.run("xdotool", {"get_desktop"}), workspace);
    }

    void aStartAfterAQuitWaitsForAnEngineThatIsSlowToEnd() {
        InstalledTree tree("wait", "wait");
        const std::string port = std::to_string(ClosedPort().port);
        tree.writeEnginePort(port);
        TestTree::installChild(tree.resources() / "Tandril/LumoraCore/MediaEngine/Orbix",
                               "slow-port " + port + " 3000");
        auto first = std::make_unique<Launcher>(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(*first); }, 60s));
        const pid_t engine = first->child("Orbix")->id;
        QElapsedTimer quit;
        quit.start();
        first.reset();
        QVERIFY2(quit.elapsed() < 2000, "the quit waited for the engine");
        QVERIFY(isAlive(engine));
        Launcher next(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(next); }, 60s));
        QVERIFY(!isAlive(engine));
        QVERIFY(next.visibleWindows().isEmpty());  // no alert
    }

    void theAlertAboutAStopLeavesTheKeyboardToTheProgramThatHasIt() {
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QProcess other;  // prints the keys that it gets
        const auto end = qScopeGuard([&] {
            other.terminate();
            other.waitForFinished();
        });
        other.setProcessEnvironment(desktop.environment(tree.home().c_str()));
        other.start("xev", {"-event", "keyboard"});
        QByteArray received;
        const auto otherReceives = [&](const char *key) {
            desktop.run("xdotool", {"key", key});
            return waitUntil(
                [&] { return (received += other.readAllStandardOutput()).contains(QByteArray(key) + ')'); });
        };
        QVERIFY(waitUntil([&] {
            return desktop.run("xdotool", {"getactivewindow", "getwindowname"}).contains("Event Tester");
        }));
        QVERIFY(otherReceives("a"));  // user input for the other program
        kill(launcher.child("qorclient")->id, SIGTERM);
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 1; }));
        QTest::qWait(1500);  // longer than an alert ignores keys
        for (const char *key : {"space", "Return", "Escape"})
            QVERIFY2(otherReceives(key), key);
        QCOMPARE(launcher.visibleWindows().size(), 1);
        // The main window opens with the alert above it, and the alert accepts keys.
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 2; }));
        QVERIFY(waitUntil([&] { return isActive(launcher); }));
        QVERIFY(waitUntil([&] {
            desktop.run("xdotool", {"key", "Return"});
            return launcher.visibleWindows().size() == 1;
        }));
        QVERIFY(launcher.isRunning());
        desktop.takePicture(QString("%1/stopped.png").arg(FERROLT_PICTURES));
    }

    void bothChildrenAreGoneWithinASecondOfTheLaunchersForcedKill() {
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        const pid_t client = launcher.child("qorclient")->id;
        kill(launcher.id(), SIGKILL);
        QVERIFY(waitWithoutEvents([&] { return !isAlive(engine) && !isAlive(client); }, 1s));
        // What the killed program left behind does not delay the next start.
        Launcher next(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(next); }, 60s));
    }

    void manySecondStartsMakeNoSecondPairOfChildren() {
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        for (int i = 0; i < 10; ++i)
            QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitForWindow(launcher, "Ferrolt Miner Launcher"));
        QCOMPARE(launcher.visibleWindows().size(), 1);
        QCOMPARE(launcher.child("Orbix")->id, engine);
        const QString all = desktop.run("pgrep", {"-f", "-x", QString((tree.executable()).c_str())});
        QCOMPARE(all.split('\n', Qt::SkipEmptyParts).size(), 1);
    }

    void tenSecondStartsAtOnceAllHandOverWithin300Milliseconds() {
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t engine = launcher.child("Orbix")->id;
        qint64 quickest = 0;
        constexpr qint64 most = FERROLT_SANITIZED ? 1500 : 300;
        // The machine may be busy: one good round shows how long the program takes.
        for (int round = 0; round < 5 && (round == 0 || quickest >= most); ++round) {
            QElapsedTimer taken;
            taken.start();
            const QList<int> exitCodes = launcher.startManyAgain(10);
            const qint64 elapsed = taken.elapsed();
            QCOMPARE(exitCodes, QList<int>(10, 0));
            quickest = round == 0 ? elapsed : std::min(quickest, elapsed);
        }
        QVERIFY2(quickest < most, qPrintable(QString("%1 ms").arg(quickest)));
        QVERIFY(waitForWindow(launcher, "Ferrolt Miner Launcher"));
        QCOMPARE(launcher.visibleWindows().size(), 1);
        QCOMPARE(launcher.child("Orbix")->id, engine);
    }
};

TEST_CLASS(LauncherTest, QCoreApplication)
#include "LauncherTest.moc"
