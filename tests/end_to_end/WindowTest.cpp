#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "TestProgram.h"
#include "Waiting.h"
#include "XClient.h"

#include <QColor>
#include <QElapsedTimer>
#include <QRect>
#include <QTemporaryDir>
#include <QTest>

#include <chrono>
#include <functional>

#include <sys/stat.h>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program's window under real window managers: its position, and its contents by the pixels of the
/// screen, because the accessibility tree can be right while the screen is wrong.
class WindowTest : public QObject {
    Q_OBJECT

    const QTemporaryDir folder;
    const QStringList openbox{"openbox", "--sm-disable", "--config-file", folder.filePath("openbox.xml")};
    const QStringList xfwm{"xfwm4", "--compositor=off"};

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<XClient> other;
    Listener enginePort;
    std::unique_ptr<InstalledTree> tree;
    std::unique_ptr<Launcher> launcher;
    QString window;

    /// How a window leaves the screen, and how it comes back.
    struct Absence {
        std::function<void(WindowTest &)> leave;
        std::function<void(WindowTest &)> comeBack;
    };

    static void does(WindowTest &test, const QStringList &arguments) {
        test.desktop->run("xdotool", arguments);
    }
    xcb_window_t windowId() const { return static_cast<xcb_window_t>(window.toULong()); }

    std::filesystem::path pipeOf(const char *child) const { return tree->tree.path() / child; }

    /// Both children write `text`, in one write() each. Waits until both logs contain `lastWord`.
    bool write(const QByteArray &text, const QString &lastWord) const {
        for (const char *child : {"engine", "client"}) {
            QFile pipe(pipeOf(child).c_str());
            if (!pipe.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || pipe.write(text) != text.size())
                return false;
        }
        return waitUntil([&] {
            return launcher->consoleText("Lumora Core Engine").contains(lastWord) &&
                   launcher->consoleText("Qor Client").contains(lastWord);
        });
    }

    /// The screen, after it has not changed for half a second: the window manager redraws a window's frame
    /// shortly after the window got the focus.
    QByteArray restingPixels() const {
        QByteArray pixels = desktop->pixels();
        QElapsedTimer unchanged;
        unchanged.start();
        waitUntil([&] {
            const QByteArray before = std::exchange(pixels, desktop->pixels());
            if (before != pixels)
                unchanged.restart();
            return unchanged.hasExpired(500);
        });
        return pixels;
    }

    /// The screen after switching to the settings and back, which redraws the logs completely.
    QByteArray pixelsDrawnAfresh() const {
        const auto press = [&](const QString &entry) {
            desktop->run(FERROLT_SCREEN_READER, {QString::number(launcher->id()), "press", entry});
        };
        const QByteArray home = restingPixels();
        press("Settings");
        if (!waitUntil([&] { return desktop->pixels() != home; }))
            return {};
        const QByteArray settings = restingPixels();
        press("Home");
        waitUntil([&] { return desktop->pixels() != settings; });
        return restingPixels();
    }

    bool startDesktop(const QStringList &windowManager, const QString &screenSize = "1280x800") {
        desktop = std::make_unique<VirtualDesktop>(windowManager, screenSize);
        if (!desktop->failure().isEmpty()) {
            qWarning("%s", qPrintable(desktop->failure()));
            return false;
        }
        other = std::make_unique<XClient>(desktop->displayName());
        return true;
    }

    /// Starts the program a second time, and waits until the window has the focus and a frame.
    bool showWindow() {
        if (launcher->startAgain() != 0 || !waitUntil([&] { return launcher->visibleWindows().size() == 1; }))
            return false;
        window = desktop
                     ->run("xdotool", {"search", "--all", "--onlyvisible", "--pid",
                                       QString::number(launcher->id()), "--name", "."})
                     .trimmed();
        return waitUntil([&] {
            return desktop->run("xdotool", {"getactivewindow"}).trimmed() == window &&
                   other->frameOf(windowId()).has_value();
        });
    }

    /// The window's rectangle on the screen, without its frame.
    QRect place() const { return other->placeOf(windowId()); }

    /// The screen's colour at `point` of the window.
    QColor pixelAt(QPoint point) const {
        const QByteArray pixels = desktop->pixels();
        const QPoint onScreen = place().topLeft() + point;
        const qsizetype at = (qsizetype{onScreen.y()} * 1280 + onScreen.x()) * 3;
        const auto byte = [&](qsizetype i) {
            return i < pixels.size() ? static_cast<unsigned char>(pixels[i]) : 0;
        };
        return QColor(byte(at), byte(at + 1), byte(at + 2));
    }

    bool openWindow() {
        tree = std::make_unique<InstalledTree>("", "");
        tree->writeEnginePort(std::to_string(enginePort.port));
        const std::filesystem::path children[] = {tree->resources() / "Tandril/LumoraCore/MediaEngine/Orbix",
                                                  tree->tree.path() / "bin/qorclient"};
        for (const char *child : {"engine", "client"})
            mkfifo(pipeOf(child).c_str(), 0600);
        TestTree::write(children[0].string() + ".behaviour", "relay " + pipeOf("engine").string() + "\n");
        TestTree::write(children[1].string() + ".behaviour", "relay " + pipeOf("client").string() + "\n");
        launcher = std::make_unique<Launcher>(*desktop, tree->executable(), tree->home());
        desktop->run("xdotool", {"mousemove", "0", "0"});
        if (!waitUntil([&] { return launcher->child("qorclient").has_value(); }, 60s) || !showWindow())
            return false;
        // The last lines that appear by themselves: there is no server to download from.
        return waitUntil([&] {
            return launcher->consoleText("Lumora Core Engine").contains("next check.") &&
                   launcher->consoleText("Qor Client").contains("ready");
        });
    }

  private Q_SLOTS:
    void initTestCase() {
        // Without openbox's popup that names the workspace, which would change the screen.
        TestTree::write(folder.filePath("openbox.xml").toStdString(),
                        "<openbox_config xmlns=\"http://openbox.org/3.4/rc\">"
                        "<desktops><number>2</number><popupTime>0</popupTime></desktops></openbox_config>");
    }

    void cleanup() {
        if (desktop && QTest::currentTestFailed())
            desktop->takePicture(QString("%1/WindowTest-%2-%3.png")
                                     .arg(FERROLT_PICTURES, QTest::currentTestFunction(),
                                          QString(QTest::currentDataTag()).replace(' ', '-')));
        launcher.reset();
        tree.reset();
        other.reset();
        desktop.reset();
    }

    void whatWasWrittenWhileTheWindowWasAwayIsOnScreenWhenItComesBack_data() {
        const Absence onAnotherWorkspace{[](auto &t) {
                                             does(t, {"set_desktop", "1"});
                                         },
                                         [](auto &t) {
                                             does(t, {"set_desktop", "0"});
                                         }};
        const Absence minimized{[](auto &t) {
                                    does(t, {"windowminimize", t.window});
                                },
                                [](auto &t) {
                                    does(t, {"windowactivate", t.window});
                                }};
        const Absence rolledUp{[](auto &t) { t.other->setRolledUp(t.windowId(), true); },
                               [](auto &t) { t.other->setRolledUp(t.windowId(), false); }};
        const Absence behindALock{[](auto &t) { t.other->coverScreen(); },
                                  [](auto &t) { t.other->uncoverScreen(); }};

        const Absence anotherScale{[](auto &t) {
                                       does(t, {"set_desktop", "1"});
                                       t.other->setSettings({{"Xft/DPI", 144 * 1024}});
                                   },
                                   [](auto &t) {
                                       does(t, {"set_desktop", "0"});
                                   }};

        QTest::addColumn<QStringList>("windowManager");
        QTest::addColumn<Absence>("absence");
        QTest::newRow("another workspace, openbox") << openbox << onAnotherWorkspace;
        QTest::newRow("minimized, openbox") << openbox << minimized;
        QTest::newRow("rolled up, openbox") << openbox << rolledUp;
        QTest::newRow("locked screen, openbox") << openbox << behindALock;
        QTest::newRow("another workspace and another scale, openbox") << openbox << anotherScale;
        QTest::newRow("another workspace, xfwm4") << xfwm << onAnotherWorkspace;
        QTest::newRow("minimized, xfwm4") << xfwm << minimized;
        QTest::newRow("rolled up, xfwm4") << xfwm << rolledUp;
    }
    void whatWasWrittenWhileTheWindowWasAwayIsOnScreenWhenItComesBack() {
        QFETCH(QStringList, windowManager);
        QFETCH(Absence, absence);
        QVERIFY(startDesktop(windowManager));
        desktop->run("xdotool", {"set_num_desktops", "2"});
        other->setSettings(
            {{"Xft/DPI", 96 * 1024}});  // Qt does not follow a settings manager that starts later
        QVERIFY(openWindow());
        QVERIFY(write("Written before it went away.\n", "went away."));
        const QByteArray before = restingPixels();

        absence.leave(*this);
        QVERIFY(waitUntil([&] { return desktop->pixels() != before; }));
        QVERIFY(write("Written while it was away.\nNothing is written after this.\n", "after this."));
        absence.comeBack(*this);
        QVERIFY(waitUntil([&] { return launcher->visibleWindows().size() == 1; }));
        const QByteArray seen = restingPixels();
        QVERIFY2(seen != before, "the screen shows what it showed when the window went");
        QVERIFY2(pixelsDrawnAfresh() == seen, "the screen shows something else than the logs");
    }

    void aWindowThatWasClosedComesBackWhereItStood_data() {
        QTest::addColumn<QStringList>("windowManager");
        QTest::newRow("openbox") << openbox;
        QTest::newRow("xfwm4") << xfwm;
    }
    void aWindowThatWasClosedComesBackWhereItStood() {
        QFETCH(QStringList, windowManager);
        QVERIFY(startDesktop(windowManager));
        QVERIFY(openWindow());
        const QRect first = place();
        desktop->run("xdotool", {"windowsize", window, "900", "550"});
        desktop->run("xdotool", {"windowmove", window, "213", "117"});
        QVERIFY(waitUntil([&] { return place().size() == QSize(900, 550) && place().x() != first.x(); }));
        const QRect before = place();
        for (int round = 0; round < 2; ++round) {
            desktop->run("xdotool", {"key", "ctrl+w"});
            QVERIFY(waitUntil([&] { return launcher->visibleWindows().isEmpty(); }));
            QVERIFY(showWindow());
            QTRY_COMPARE(place(), before);
        }
    }

    void theFirstWindowFitsASmallScreenWithItsFrame() {
        QVERIFY(startDesktop(openbox, "1024x600"));
        QVERIFY(openWindow());
        const QRect whole = place().marginsAdded(*other->frameOf(windowId()));
        QVERIFY2(QRect(0, 0, 1024, 600).contains(whole),
                 qPrintable(QString("%1 by %2").arg(whole.width()).arg(whole.height())));
    }

    /// Without a portal: Xfce publishes its theme's name in the X display's settings only.
    void theWindowIsDarkWhereTheDesktopsGtkThemeIs() {
        QVERIFY(startDesktop(openbox));
        other->setSettings(
            {{"Gtk/FontName", "Sans 10"}, {"Xft/Antialias", 1}, {"Net/ThemeName", "Greybird-dark"}});
        QVERIFY(openWindow());
        const auto isDark = [&] { return pixelAt({600, 300}).lightness() < 100; };
        QVERIFY(waitUntil(isDark));
        for (const auto &[theme, dark] : {std::pair("Greybird", false),
                                          {"Arc-Dark-solid", true},
                                          {"Darkmist", false},
                                          {"Adwaita-dark", true}}) {
            other->setSettings({{"Net/ThemeName", theme}});
            QVERIFY2(waitUntil([&, wanted = dark] { return isDark() == wanted; }), theme);
        }
    }

    void f3SearchesUnderQtsThemeForGtkDesktopsToo() {
        QVERIFY(startDesktop(openbox));
        desktop->setVariable("QT_QPA_PLATFORMTHEME", "gnome");
        QVERIFY(openWindow());
        desktop->run("xdotool", {"mousemove", "600", "300", "click", "1"});  // gives a console the focus
        desktop->run("xdotool", {"key", "F3"});
        QVERIFY(waitUntil([&] {
            return desktop->run(FERROLT_SCREEN_READER, {QString::number(launcher->id()), "list"})
                .contains("Find Next");
        }));
    }
};

TEST_CLASS(WindowTest, QCoreApplication)
#include "WindowTest.moc"
