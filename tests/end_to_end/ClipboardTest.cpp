#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QElapsedTimer>
#include <QTest>

#include <chrono>
#include <csignal>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program and the desktop's clipboard, which belongs to the program that copied last.
class ClipboardTest : public QObject {
    Q_OBJECT

    VirtualDesktop desktop;
    Listener enginePort;
    std::unique_ptr<InstalledTree> tree;
    std::unique_ptr<Launcher> launcher;

    /// Another program that owns the clipboard with `text` until it is ended.
    std::unique_ptr<QProcess> ownerOf(const QByteArray &text) const {
        auto owner = std::make_unique<QProcess>();
        owner->setProcessEnvironment(desktop.environment(tree->home().c_str()));
        owner->start("xclip", {"-quiet", "-in", "-selection", "clipboard"});
        owner->write(text);
        owner->closeWriteChannel();
        const bool isOwner = waitUntil([&] { return onTheClipboard() == text; });
        return isOwner ? std::move(owner) : nullptr;
    }
    QByteArray onTheClipboard(int *exitCode = nullptr) const {
        return desktop.run("xclip", {"-out", "-selection", "clipboard"}, exitCode).toUtf8();
    }
    void press(const QStringList &keys) const { desktop.run("xdotool", QStringList("key") + keys); }
    /// Chooses an entry by its letter when the menu, a window without a title, is open.
    bool pasteFromTheMenu() const {
        const auto menuIsOpen = [&] {
            const QString pid = QString::number(launcher->id());
            const QString found =
                desktop.run("xdotool", {"search", "--onlyvisible", "--pid", pid, "--class", "."});
            return found.count('\n') == 2;
        };
        press({"Menu"});
        if (!waitUntil(menuIsOpen))
            return false;
        press({"p"});
        return waitUntil([&] { return !menuIsOpen(); });
    }
    QString inTheField() const {
        return desktop.run(FERROLT_SCREEN_READER, {QString::number(launcher->id()), "text", "E-Mail Address"})
            .trimmed();
    }
    bool waitForTheField(const QString &text) const {
        return waitUntil([&] { return inTheField() == text; });
    }

  private Q_SLOTS:
    void initTestCase() { QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure())); }

    /// Opens the form, gives the first field the focus and types "typed".
    void init() {
        tree = std::make_unique<InstalledTree>("wait", "wait");
        tree->writeEnginePort(std::to_string(enginePort.port));
        tree->writeIdentity("");
        launcher = std::make_unique<Launcher>(desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return launcher->visibleWindows().size() == 2; }, 60s));
        press({"Return"});
        QVERIFY(waitUntil([&] { return launcher->visibleWindows().size() == 1; }));
        QVERIFY(waitUntil([&] {
            press({"Tab"});
            desktop.run("xdotool", {"type", "typed"});
            return inTheField().contains("typed");
        }));
        press({"ctrl+a"});
        desktop.run("xdotool", {"type", "typed"});
        QVERIFY(waitForTheField("typed"));
    }
    void cleanup() {
        launcher.reset();
        tree.reset();
    }

    void whatAnotherProgramCopiedIsPasted() {
        const auto owner = ownerOf("grace@example.org");
        QVERIFY(owner);
        press({"ctrl+a", "ctrl+v"});
        QVERIFY(waitForTheField("grace@example.org"));
        press({"shift+Insert"});
        QVERIFY(waitForTheField("grace@example.orggrace@example.org"));
        press({"ctrl+a"});
        QVERIFY(pasteFromTheMenu());
        QVERIFY(waitForTheField("grace@example.org"));
    }

    void aPasteWhoseOwnerIsGoneChangesNothingAndHoldsNothingUp() {
        const auto owner = ownerOf("grace@example.org");
        QVERIFY(owner);
        owner->kill();
        QVERIFY(owner->waitForFinished());
        QElapsedTimer taken;
        taken.start();
        press({"ctrl+a", "ctrl+v", "End", "x"});
        QVERIFY(waitForTheField("typedx"));
        QVERIFY2(taken.elapsed() < 4000, qPrintable(QString::number(taken.elapsed())));
    }

    /// The clipboard's owner never answers: the form responds again after a few seconds.
    void aPasteWhoseOwnerIsStuckChangesNothing() {
        const auto owner = ownerOf("grace@example.org");
        QVERIFY(owner);
        kill(static_cast<pid_t>(owner->processId()), SIGSTOP);
        QElapsedTimer taken;
        taken.start();
        press({"ctrl+a", "ctrl+v", "End", "x"});
        QVERIFY(waitForTheField("typedx"));
        QVERIFY2(taken.elapsed() < 10'000, qPrintable(QString::number(taken.elapsed())));
        owner->kill();
        owner->waitForFinished();
    }

    void whatTheLauncherCopiedGoesWithItAndHoldsItsEndUpByNothing() {
        press({"ctrl+a", "ctrl+c"});
        QVERIFY(waitUntil([&] { return onTheClipboard() == "typed"; }));
        kill(launcher->id(), SIGTERM);
        QVERIFY(waitUntil([&] { return !launcher->isRunning(); }));
        QCOMPARE(launcher->program().exitStatus(), QProcess::NormalExit);
        int exitCode = 0;
        QCOMPARE(onTheClipboard(&exitCode), QByteArray());
        QVERIFY(exitCode != 0);
    }
};

TEST_CLASS(ClipboardTest, QCoreApplication)
#include "ClipboardTest.moc"
