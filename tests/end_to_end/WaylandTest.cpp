#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "ProcessFacts.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QScopeGuard>
#include <QTest>

#include <chrono>
#include <csignal>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program on a Wayland compositor that draws into memory, judged by the pixels of its screen.
class WaylandTest : public QObject {
    Q_OBJECT

    VirtualDesktop desktop;
    QTemporaryDir folder;
    QProcess compositor;
    Listener enginePort;

    /// The whole screen; null if the compositor returns none.
    QImage screen() const {
        QDir pictures(folder.path());
        for (const QString &old : pictures.entryList({"*.png"}))
            pictures.remove(old);
        QProcess shooter;
        shooter.setProcessEnvironment(desktop.environment(folder.path()));
        shooter.setWorkingDirectory(folder.path());
        shooter.start("weston-screenshooter", {});
        shooter.waitForFinished(10000);
        const QStringList taken = pictures.entryList({"*.png"});
        return taken.isEmpty() ? QImage() : QImage(pictures.filePath(taken.first()));
    }

    /// The share of pixels that differ from `before`; 0 if a picture is missing.
    static double changedShare(const QImage &before, const QImage &now) {
        if (now.size() != before.size())
            return 0;
        int changed = 0;
        for (int y = 0; y < now.height(); ++y)
            for (int x = 0; x < now.width(); ++x)
                changed += now.pixel(x, y) != before.pixel(x, y);
        return double(changed) / (now.width() * now.height());
    }

    /// The window fills half of the screen at its default size.
    bool windowAppearsOver(const QImage &before) const {
        return waitUntil([&] { return changedShare(before, screen()) > 0.4; });
    }

  private Q_SLOTS:
    void initTestCase() {
        QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure()));
        desktop.setVariable("QT_QPA_PLATFORM", "wayland");
        desktop.setVariable("WAYLAND_DISPLAY", "wayland-test");
        desktop.setVariable("DISPLAY", "");
        desktop.setVariable("SHELL", "/bin/true");
        desktop.setVariable("XDG_PICTURES_DIR", folder.path());
        compositor.setProcessEnvironment(desktop.environment(folder.path()));
        compositor.setStandardErrorFile(QProcess::nullDevice());
        compositor.setStandardOutputFile(QProcess::nullDevice());
        // It ends with the test, also if CTest kills that. --debug lets a program that is not the shell take
        // pictures.
        compositor.start("setpriv",
                         {"--pdeathsig", "TERM", "weston", "--backend=headless-backend.so", "--use-pixman",
                          "--width=1280", "--height=800", "--socket=wayland-test", "--no-config", "--debug"});
        QVERIFY(compositor.waitForStarted());
        // When two pictures are alike, the shell has drawn its background.
        QImage last;
        QVERIFY(waitUntil([&] {
            const QImage now = screen();
            const bool isAtRest = !now.isNull() && now.size() == last.size() &&
                                  changedShare(last, now) < 0.01 && now.pixel(640, 400) != qRgb(0, 0, 0);
            last = now;
            return isAtRest;
        }));
    }

    void cleanup() {
        if (QTest::currentTestFailed())
            screen().save(QString("%1/wayland-%2.png").arg(FERROLT_PICTURES, QTest::currentTestFunction()));
    }

    void cleanupTestCase() {
        compositor.terminate();
        compositor.waitForFinished();
    }

    void itStartsAndASecondStartBringsItsWindowAndAQuitEndsAll() {
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(enginePort.port));
        const QImage empty = screen();
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return launcher.child("Orbix") && launcher.child("qorclient"); }, 60s));
        QVERIFY(changedShare(empty, screen()) < 0.1);  // a complete identity leaves the window closed
        const pid_t engine = launcher.child("Orbix")->id;
        const pid_t client = launcher.child("qorclient")->id;
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(windowAppearsOver(empty));

        // The window comes to the front of another program's window that covers it.
        QProcess cover;
        const auto end = qScopeGuard([&] {
            cover.terminate();
            cover.waitForFinished();
        });
        cover.setProcessEnvironment(desktop.environment(folder.path()));
        cover.start("weston-terminal", {"--maximized", "--shell=/bin/cat"});
        QImage covered;
        QVERIFY(waitUntil([&] {
            covered = screen();
            return changedShare(empty, covered) > 0.9;
        }));
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(windowAppearsOver(covered));

        kill(launcher.id(), SIGTERM);
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.program().exitCode(), 0);
        QVERIFY(waitUntil([&] { return !isAlive(engine) && !isAlive(client); }));
    }
};

TEST_CLASS(WaylandTest, QCoreApplication)
#include "WaylandTest.moc"
