#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QMap>
#include <QRect>
#include <QTest>

#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The alerts as the built program shows them, in windows of their own, read and worked as a screen reader
/// does.
class ProductionAlertTest : public QObject {
    Q_OBJECT

    VirtualDesktop desktop;

    QString read(const Launcher &launcher, const QStringList &command) const {
        return desktop.run(FERROLT_SCREEN_READER, QStringList(QString::number(launcher.id())) + command);
    }
    /// All accessible objects on screen: role, tab, name.
    QString onScreen(const Launcher &launcher) const { return read(launcher, {"list"}); }
    bool waitForText(const Launcher &launcher, const QString &text, QString &found) const {
        return waitUntil(
            [&] {
                found = onScreen(launcher);
                return found.contains("\t" + text + "\n");
            },
            60s);
    }

    /// Where the program's windows are on the screen.
    QList<QRect> places(const Launcher &launcher) const {
        QList<QRect> found;
        const QString windows = desktop.run("xdotool", {"search", "--all", "--onlyvisible", "--pid",
                                                        QString::number(launcher.id()), "--name", "."});
        for (const QString &window : windows.split('\n', Qt::SkipEmptyParts)) {
            QMap<QString, int> numbers;
            const QString lines = desktop.run("xdotool", {"getwindowgeometry", "--shell", window});
            for (const QString &line : lines.split('\n', Qt::SkipEmptyParts))
                numbers[line.section('=', 0, 0)] = line.section('=', 1).toInt();
            found << QRect(numbers["X"], numbers["Y"], numbers["WIDTH"], numbers["HEIGHT"]);
        }
        return found;
    }

  private Q_SLOTS:
    void initTestCase() { QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure())); }

    void cleanup() {
        if (QTest::currentTestFailed())
            desktop.takePicture(QString("%1/%2.png").arg(FERROLT_PICTURES, QTest::currentTestFunction()));
    }

    void theFatalAlertNamesTheMissingEngineAndItsExitEndsTheProgram() {
        InstalledTree tree("wait", "wait");
        std::filesystem::remove(tree.resources() / "Tandril/LumoraCore/MediaEngine/Orbix");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QString found;
        QVERIFY2(waitForText(launcher, "Ferrolt Miner Launcher Error", found), qPrintable(found));
        const std::string missing = tree.resources() / "Tandril/LumoraCore/Bin/MediaEngine/Orbix";
        QVERIFY2(found.contains("\tOrbix binary not found at " + QString::fromStdString(missing) + "\n"),
                 qPrintable(found));
        QCOMPARE(found.count("button\t"), 1);
        QVERIFY2(found.contains("button\tExit\n"), qPrintable(found));
        QCOMPARE(launcher.visibleWindows().size(), 1);
        QVERIFY(launcher.isRunning());
        read(launcher, {"press", "Exit"});
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.program().exitCode(), 0);
    }

    void atTheFirstStartTheAlertStandsOverTheWindowAndTheKeyboardIsInTheEMailFieldAfterIt() {
        InstalledTree tree("wait", "wait");
        std::filesystem::remove_all(tree.home() / ".qor");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QString found;
        QVERIFY2(waitForText(launcher, "Ferrolt Miner Missing Info", found), qPrintable(found));
        QVERIFY(waitUntil([&] { return places(launcher).size() == 2; }));
        const QList<QRect> both = places(launcher);
        const bool isFirstWindow = both[0].width() > both[1].width();
        const QPoint away = both[0].center() - both[1].center();
        QVERIFY2((isFirstWindow ? both[0] : both[1]).size() == QSize(1000, 640), qPrintable(found));
        QVERIFY2(away.manhattanLength() <= 40, qPrintable(QString("%1, %2").arg(away.x()).arg(away.y())));

        desktop.run("xdotool", {"key", "Return"});
        QVERIFY(waitUntil([&] { return places(launcher).size() == 1; }));
        const auto typed = [&] { return read(launcher, {"text", "E-Mail Address"}).trimmed(); };
        // The keyboard itself: for a moment the window manager still names the alert as the active window.
        QVERIFY(waitUntil([&] {
            return desktop.run("xdotool", {"getwindowfocus", "getwindowname"}).trimmed() ==
                   "Ferrolt Miner Launcher";
        }));
        desktop.run("xdotool", {"type", "ada@example.org"});
        QVERIFY2(waitUntil([&] { return typed() == "ada@example.org"; }), qPrintable(typed()));
    }

    void theWarningNamesTheChildThatEndedAndItsButtonLeavesTheProgramRunning() {
        const Listener port;
        InstalledTree tree("delay-exit 2000 3", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QString found;
        QVERIFY2(waitForText(launcher, "Ferrolt Miner Launcher Stopped", found), qPrintable(found));
        QVERIFY2(found.contains(
                     "\tLumora Core stopped (exit status 3).\n\n"
                     "The Ferrolt Miner Launcher is stopped. You must restart the launcher app manually if "
                     "you wish to retry running the two processes.\n"),
                 qPrintable(found));
        QCOMPARE(found.count("button\t"), 1);
        QVERIFY2(found.contains("button\tOK\n"), qPrintable(found));
        read(launcher, {"press", "OK"});
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().isEmpty(); }));
        QVERIFY(waitUntil([&] { return !launcher.child("qorclient"); }));
        // The program still responds, and the window shows the logs.
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().contains("Ferrolt Miner Launcher"); }));
        QVERIFY(!launcher.child("Orbix"));
    }
};

TEST_CLASS(ProductionAlertTest, QCoreApplication)
#include "ProductionAlertTest.moc"
