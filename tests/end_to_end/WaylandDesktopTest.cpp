#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "NotifierTray.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRect>
#include <QScopeGuard>
#include <QTest>

#include <chrono>
#include <csignal>

#include <unistd.h>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

const QString applicationId = "ferrolt-miner-launcher";

/// The window of that application below a node of the compositor's tree; empty if there is none.
QJsonObject windowBelow(const QJsonObject &node, const QString &application) {
    if (node["app_id"].toString() == application)
        return node;
    for (const char *children : {"nodes", "floating_nodes"})
        for (const QJsonValue &child : node[QLatin1String(children)].toArray())
            if (QJsonObject found = windowBelow(child.toObject(), application); !found.isEmpty())
                return found;
    return {};
}

QRect rectOf(const QJsonObject &node) {
    const QJsonObject rect = node["rect"].toObject();
    return QRect(rect["x"].toInt(), rect["y"].toInt(), rect["width"].toInt(), rect["height"].toInt());
}

/// The part that differs.
QRect difference(const QImage &before, const QImage &now) {
    QRect changed;
    for (int y = 0; y < now.height(); ++y)
        for (int x = 0; x < now.width(); ++x)
            if (now.pixel(x, y) != before.pixel(x, y))
                changed |= QRect(x, y, 1, 1);
    return changed;
}

}  // namespace

/// The built program on a Wayland desktop with what WaylandTest's lacks: activation tokens, a primary
/// selection, a clipboard that other programs may read, a mouse, and a scale of 1.5.
class WaylandDesktopTest : public QObject {
    Q_OBJECT

    VirtualDesktop desktop;
    QTemporaryDir folder;
    QProcess compositor;
    QProcess mouse;
    Listener enginePort;
    std::unique_ptr<InstalledTree> tree;
    std::unique_ptr<Launcher> launcher;

    static constexpr double scale = 1.5;

    QJsonObject desktopTree() const {
        return QJsonDocument::fromJson(desktop.run("swaymsg", {"--raw", "--type", "get_tree"}).toUtf8())
            .object();
    }
    QJsonObject window() const { return windowBelow(desktopTree(), applicationId); }
    bool hasFocus() const { return window()["focused"].toBool(); }
    bool command(const QString &text) const {
        int exitCode = -1;
        desktop.run("swaymsg", {"--", text}, &exitCode);
        return exitCode == 0;
    }
    QImage screen() const {
        const QString file = folder.filePath("screen.png");
        desktop.run("grim", {file});
        return QImage(file).convertToFormat(QImage::Format_RGB32);
    }
    /// A picture of a screen on which nothing changes any more.
    QImage screenAtRest() const {
        QImage last;
        const bool isAtRest = waitUntil([&] {
            const QImage now = screen();
            const bool isSame = !now.isNull() && now == last;
            last = now;
            return isSame;
        });
        return isAtRest ? last : QImage();
    }

    /// Where a thing is in the window, in logical pixels.
    QRect place(const QString &name) const {
        const QStringList numbers =
            desktop.run(FERROLT_SCREEN_READER, {QString::number(launcher->id()), "place", name})
                .split(' ', Qt::SkipEmptyParts);
        return numbers.size() == 4
                   ? QRect(numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt(), numbers[3].toInt())
                   : QRect();
    }
    /// As the program knows it, which follows what the compositor has set.
    QSize windowSize() const { return place("Ferrolt Miner Launcher").size(); }
    /// At the top of the screen, as a window of that size and not as the whole screen.
    bool floatsAtScaleOne(const QSize &size) const {
        const QString resize = QString("resize set %1 %2").arg(size.width()).arg(size.height());
        // Again and again: sway forgets a size when the program draws an earlier one after it.
        return command("output HEADLESS-1 scale 1") && command("floating enable") &&
               waitUntil([&] { return command(resize) && windowSize() == size; }) &&
               command("move position 40 0");
    }
    bool mouseDoes(const QString &line) {
        mouse.write(line.toUtf8() + '\n');
        return waitUntil([&] { return mouse.canReadLine(); }) && mouse.readLine() == "done\n";
    }
    /// To a point of the window.
    bool mouseMovesTo(const QPoint &point) {
        const QPoint there = rectOf(window()).topLeft() + point;
        const QSize size = rectOf(desktopTree()["nodes"].toArray().last().toObject()).size();
        return mouseDoes(
            QString("move %1 %2 %3 %4").arg(there.x()).arg(there.y()).arg(size.width()).arg(size.height()));
    }

    bool open() {
        launcher = std::make_unique<Launcher>(desktop, tree->executable(), tree->home());
        return waitUntil([&] { return launcher->child("Orbix") && launcher->child("qorclient"); }, 60s) &&
               launcher->startAgain() == 0 && waitUntil([&] { return hasFocus(); }) &&
               waitUntil([&] { return launcher->consoleText("Qor Client").contains("ready"); });
    }
    bool quit() {
        kill(launcher->id(), SIGTERM);
        return waitUntil([&] { return !launcher->isRunning(); });
    }

  private Q_SLOTS:
    void initTestCase() {
        QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure()));
        QFile configuration(folder.filePath("sway"));
        QVERIFY(configuration.open(QFile::WriteOnly));
        configuration.write(
            "output HEADLESS-1 mode 1280x800 position 0 0 scale 1.5\n"
            "default_border none\n"
            "focus_follows_mouse no\n"
            "focus_on_window_activation focus\n"
            "xwayland disable\n");
        configuration.close();
        const QString socket = folder.filePath("sway.socket");
        desktop.setVariable("QT_QPA_PLATFORM", "wayland");
        desktop.setVariable("DISPLAY", "");
        desktop.setVariable("SWAYSOCK", socket);
        QProcessEnvironment environment = desktop.environment(folder.path());
        environment.insert("WLR_BACKENDS", "headless");
        environment.insert("WLR_RENDERER", "pixman");
        environment.insert("WLR_LIBINPUT_NO_DEVICES", "1");
        compositor.setProcessEnvironment(environment);
        compositor.setStandardErrorFile(QProcess::nullDevice());
        // It ends with the test, also if CTest kills that. And it does not run as root.
        QStringList command{"setpriv", "--pdeathsig", "TERM", "sway", "--config", configuration.fileName()};
        if (geteuid() == 0) {
            const QStringList asAnother{"--user", "--map-user=65534", "--map-group=65534"};
            if (QProcess::execute("unshare", asAnother + QStringList{"true"}) != 0)
                QSKIP("root can make no user namespace here");
            command = QStringList{"unshare"} + asAnother + command;
        }
        compositor.start(command.takeFirst(), command);
        const QDir runtime(environment.value("XDG_RUNTIME_DIR"));
        QVERIFY(waitUntil([&] { return QFile::exists(socket) && runtime.exists("wayland-1"); }));
        desktop.setVariable("WAYLAND_DISPLAY", "wayland-1");
        QVERIFY(waitUntil([&] { return !screen().isNull(); }));

        mouse.setProcessEnvironment(desktop.environment(folder.path()));
        mouse.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mouse.start(FERROLT_WAYLAND_CLIENT, {"pointer"});
        QVERIFY(mouse.waitForStarted());
    }

    void init() {
        QVERIFY(command("output HEADLESS-1 scale 1.5"));
        tree = std::make_unique<InstalledTree>("wait", "wait");
        tree->writeEnginePort(std::to_string(enginePort.port));
        QVERIFY(open());
    }

    void cleanup() {
        if (QTest::currentTestFailed())
            screen().save(
                QString("%1/wayland-desktop-%2.png").arg(FERROLT_PICTURES, QTest::currentTestFunction()));
        launcher.reset();
        QVERIFY(waitUntil([&] { return window().isEmpty(); }));
    }

    void cleanupTestCase() {
        for (QProcess *service : {&mouse, &compositor}) {
            service->terminate();
            service->waitForFinished();
        }
    }

    /// By the application id a desktop finds the desktop file, and in that the icon.
    void itBearsItsNameAndItsDesktopFilesName() {
        QCOMPARE(window()["app_id"].toString(), applicationId);
        QCOMPARE(window()["name"].toString(), QString("Ferrolt Miner Launcher"));
    }

    void aSecondStartWithAnActivationTokenRaisesTheSameWindow() {
        QProcess another;
        const auto end = qScopeGuard([&] {
            another.terminate();
            another.waitForFinished();
            desktop.setVariable("XDG_ACTIVATION_TOKEN", "");
        });
        another.setProcessEnvironment(desktop.environment(folder.path()));
        another.start("weston-terminal", {"--shell=/bin/cat"});
        QVERIFY(waitUntil([&] { return !hasFocus(); }));
        const int before = window()["id"].toInt();
        const QString token = desktop.run(FERROLT_WAYLAND_CLIENT, {"token"}).trimmed();
        QVERIFY(!token.isEmpty());
        desktop.setVariable("XDG_ACTIVATION_TOKEN", token);
        QCOMPARE(launcher->startAgain(), 0);
        QVERIFY(waitUntil([&] { return hasFocus(); }));
        QCOMPARE(window()["id"].toInt(), before);  // without a token it would be a new window
    }

    /// The window is hidden and shown for it, which is no reason to load the form anew.
    void aSecondStartWithoutATokenKeepsWhatIsTyped() {
        const QRect settings = place("Settings");
        QVERIFY(settings.isValid());
        QVERIFY(mouseMovesTo(settings.center()) && mouseDoes("press") && mouseDoes("release"));
        const QString reader = QString::number(launcher->id());
        const QString field = "E-Mail Address";
        desktop.run(FERROLT_SCREEN_READER, {reader, "fill", field, "grace@example.org"});
        const int before = window()["id"].toInt();
        QCOMPARE(launcher->startAgain(), 0);
        QVERIFY(waitUntil([&] { return hasFocus() && window()["id"].toInt() != before; }));
        QCOMPARE(desktop.run(FERROLT_SCREEN_READER, {reader, "text", field}).trimmed(),
                 QString("grace@example.org"));
    }

    void itsTextGoesToTheClipboardAndToThePrimarySelection() {
        const QRect area = place("Lumora Core Engine");
        QVERIFY(area.isValid());
        QVERIFY(mouseMovesTo(area.topLeft() + QPoint(2, 2)) && mouseDoes("press"));
        QVERIFY(mouseMovesTo(area.center()) && mouseDoes("release"));
        QString selected;
        QVERIFY2(waitUntil([&] {
                     selected = desktop.run("wl-paste", {"--primary"});
                     return selected.contains("Lumora Core started.");
                 }),
                 qPrintable(selected));
        QVERIFY(!desktop.run("wl-paste", {"--no-newline"}).contains("started"));

        const QRect button = place("Copy this log to the clipboard");
        QVERIFY(button.isValid());
        QVERIFY(mouseMovesTo(button.center()) && mouseDoes("press") && mouseDoes("release"));
        QString copied;
        QVERIFY2(waitUntil([&] {
                     copied = desktop.run("wl-paste", {"--no-newline"});
                     return copied.endsWith("Qor Client started.\nready\n");
                 }),
                 qPrintable(copied));
    }

    /// Below the window there is room for the menu, and above the button too.
    void itsMenuOpensAboveItsButton() {
        QVERIFY(floatsAtScaleOne(QSize(900, 500)));
        const QPoint corner = rectOf(window()).topLeft();
        const QRect button = place("Menu");
        QVERIFY(button.isValid());
        QVERIFY(mouseMovesTo(button.center()));
        const QImage before = screenAtRest();
        QVERIFY(!before.isNull());
        QVERIFY(mouseDoes("press") && mouseDoes("release"));
        QVERIFY(waitUntil([&] { return difference(before, screen()).height() > 3 * button.height(); }));
        const QImage now = screenAtRest();
        const QRect changed = difference(before, now).translated(-corner);
        now.save(QString("%1/wayland-menu.png").arg(FERROLT_PICTURES));
        QVERIFY(std::abs(changed.left() - button.left()) <= 2);
        QVERIFY(changed.bottom() <= button.bottom() + 2);
        QVERIFY(changed.top() < button.top());
    }

    void itsPictureHasNoSeamsAtAScaleOfOneAndAHalf() {
        const QImage picture = screenAtRest();
        QVERIFY(!picture.isNull());
        picture.save(QString("%1/wayland-scale.png").arg(FERROLT_PICTURES));
        // Left of all text, the sidebar and each log are of one colour from top to bottom.
        const auto isOneColour = [&](int x, int top, int bottom) {
            for (int y = top; y < bottom; ++y)
                if (picture.pixel(x, y) != picture.pixel(x, top))
                    return false;
            return true;
        };
        QVERIFY(isOneColour(4, 0, 790));
        for (const char *console : {"Lumora Core Engine", "Qor Client"}) {
            const QRect area = place(console);
            QVERIFY(area.isValid());
            QVERIFY(isOneColour(static_cast<int>(scale * (area.left() + 6)),
                                static_cast<int>(scale * (area.top() + 4)),
                                static_cast<int>(scale * (area.bottom() - 4))));
        }
    }

    void itsTrayItemBringsTheWindowUp() {
        QVERIFY(quit());
        NotifierTray tray(desktop.busAddress());
        launcher = std::make_unique<Launcher>(desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
        QVERIFY(waitUntil([&] { return launcher->child("Orbix") && launcher->child("qorclient"); }, 60s));
        QVERIFY(window().isEmpty());
        tray.activate();
        QVERIFY(waitUntil([&] { return hasFocus(); }));
    }

    void aSizeIsKeptFromOneRunToTheNext() {
        const QSize size(900, 600);
        QVERIFY(floatsAtScaleOne(size));
        QVERIFY(command(QString("for_window [app_id=\"%1\"] floating enable").arg(applicationId)));
        QVERIFY(command("kill"));
        QVERIFY(waitUntil([&] { return window().isEmpty(); }));
        QVERIFY(launcher->isRunning());
        QCOMPARE(launcher->startAgain(), 0);
        QVERIFY(waitUntil([&] { return windowSize() == size; }));
        QVERIFY(quit());
        QVERIFY(open());
        QVERIFY(waitUntil([&] { return windowSize() == size; }));
    }
};

TEST_CLASS(WaylandDesktopTest, QCoreApplication)
#include "WaylandDesktopTest.moc"
