#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "Waiting.h"
#include "XClient.h"

#include <QTest>

#include <chrono>
#include <functional>

#include <sys/stat.h>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program's window under real window managers: what it shows, by the pixels of the screen, since
/// the accessibility tree may be right while the screen is not; and where it stands.
class WindowTest : public QObject {
    Q_OBJECT

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

    /// Both children write it, each in one write, and the launcher has it in both logs.
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

    /// The screen, once it has stopped to change.
    QByteArray restingPixels() const {
        QByteArray pixels = desktop->pixels();
        waitUntil([&] {
            const QByteArray before = std::exchange(pixels, desktop->pixels());
            return before == pixels;
        });
        return pixels;
    }

    /// In the window, from its top left corner.
    void click(int x, int y) const {
        desktop->run("xdotool", {"mousemove", "--window", window, QString::number(x), QString::number(y),
                                 "click", "1", "mousemove", "0", "0"});
    }

    /// Has the logs drawn afresh: a page that was away is drawn whole.
    QByteArray pixelsDrawnAfresh() const {
        const QByteArray home = restingPixels();
        click(60, 52);
        if (!waitUntil([&] { return desktop->pixels() != home; }))
            return {};
        click(60, 24);
        waitUntil([&] { return !launcher->consoleText("Qor Client").isEmpty(); });
        return restingPixels();
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
        if (!waitUntil([&] { return launcher->child("qorclient").has_value(); }, 60s) ||
            launcher->startAgain() != 0 || !waitUntil([&] { return launcher->visibleWindows().size() == 1; }))
            return false;
        window = desktop
                     ->run("xdotool", {"search", "--all", "--onlyvisible", "--pid",
                                       QString::number(launcher->id()), "--name", "."})
                     .trimmed();
        // The last that is written without being asked for: there is no server to fetch anything from.
        return waitUntil([&] {
            return launcher->consoleText("Lumora Core Engine").contains("next check.") &&
                   launcher->consoleText("Qor Client").contains("ready");
        });
    }

  private Q_SLOTS:
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
        const QStringList openbox{"openbox", "--sm-disable"};
        const QStringList xfwm{"xfwm4", "--compositor=off"};
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

        QTest::addColumn<QStringList>("windowManager");
        QTest::addColumn<Absence>("absence");
        QTest::newRow("another workspace, openbox") << openbox << onAnotherWorkspace;
        QTest::newRow("minimized, openbox") << openbox << minimized;
        QTest::newRow("rolled up, openbox") << openbox << rolledUp;
        QTest::newRow("locked screen, openbox") << openbox << behindALock;
        QTest::newRow("another workspace, xfwm4") << xfwm << onAnotherWorkspace;
        QTest::newRow("minimized, xfwm4") << xfwm << minimized;
        QTest::newRow("rolled up, xfwm4") << xfwm << rolledUp;
    }
    void whatWasWrittenWhileTheWindowWasAwayIsOnScreenWhenItComesBack() {
        QFETCH(QStringList, windowManager);
        QFETCH(Absence, absence);
        desktop = std::make_unique<VirtualDesktop>(windowManager);
        QVERIFY2(desktop->failure().isEmpty(), qPrintable(desktop->failure()));
        other = std::make_unique<XClient>(desktop->displayName());
        desktop->run("xdotool", {"set_num_desktops", "2"});
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
};

QTEST_GUILESS_MAIN(WindowTest)
#include "WindowTest.moc"
