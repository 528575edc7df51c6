#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QFile>
#include <QTest>

#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program's commands, by the keys of a keyboard and by a screen reader.
class MenuTest : public QObject {
    Q_OBJECT

    std::unique_ptr<VirtualDesktop> desktop;
    Listener enginePort;
    std::unique_ptr<InstalledTree> tree;
    std::unique_ptr<Launcher> launcher;

    QString read(const QStringList &command, int *exitCode = nullptr) const {
        return desktop->run(FERROLT_SCREEN_READER, QStringList(QString::number(launcher->id())) + command,
                            exitCode);
    }
    bool press(const QString &name) const {
        int exitCode = -1;
        read({"press", name}, &exitCode);
        return exitCode == 0;
    }
    bool isOnScreen(const QString &name) const {
        for (const QString &line : read({"list"}).split('\n')) {
            if (line.section('\t', 1) == name)
                return true;
        }
        return false;
    }
    bool comes(const QString &name) const {
        return waitUntil([&] { return isOnScreen(name); });
    }
    bool goes(const QString &name) const {
        return waitUntil([&] { return !isOnScreen(name); });
    }
    void type(const QStringList &keys) const { desktop->run("xdotool", QStringList("key") + keys); }

    QString onTheClipboard() const { return desktop->run("xclip", {"-out", "-selection", "clipboard"}); }
    /// Gives the upper log the keyboard and shows its top.
    bool scrollUp() const {
        desktop->run("xdotool", {"mousemove", "600", "300", "click", "1"});
        type({"Home"});
        return comes("Newest Entry");
    }
    bool chooseFromTheMenu(const QString &name) const { return press("Menu") && comes(name) && press(name); }

  private Q_SLOTS:
    /// A window whose engine has written a log that is longer than the screen.
    void init() {
        desktop = std::make_unique<VirtualDesktop>();
        QVERIFY2(desktop->failure().isEmpty(), qPrintable(desktop->failure()));
        tree = std::make_unique<InstalledTree>("chatter 300 20 10000", "wait");
        tree->writeEnginePort(std::to_string(enginePort.port));
        launcher = std::make_unique<Launcher>(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return launcher->child("qorclient").has_value(); }, 60s));
        QCOMPARE(launcher->startAgain(), 0);
        QVERIFY(waitUntil([&] { return launcher->visibleWindows().size() == 1; }));
        // The last line that appears by itself: there is no server to download from.
        QVERIFY(
            waitUntil([&] { return launcher->consoleText("Lumora Core Engine").contains("next check."); }));
    }
    void cleanup() {
        if (desktop && QTest::currentTestFailed())
            desktop->takePicture(
                QString("%1/MenuTest-%2.png").arg(FERROLT_PICTURES, QTest::currentTestFunction()));
        launcher.reset();
        tree.reset();
        desktop.reset();
    }

    void theCommandsAreReachedByKeys() {
        QVERIFY(scrollUp());
        type({"alt+End"});
        QVERIFY(goes("Newest Entry"));
        type({"ctrl+a", "ctrl+c"});
        QVERIFY(waitUntil([&] { return onTheClipboard().startsWith("Lumora Core started.\n"); }));
        type({"ctrl+f"});
        QVERIFY(comes("Find Next"));
        type({"Escape"});
        QVERIFY(goes("Find Next"));

        type({"ctrl+comma"});
        QVERIFY(comes("E-Mail Address"));
        type({"alt+Home"});
        QVERIFY(goes("E-Mail Address"));

        type({"F10"});
        QVERIFY(comes("About Ferrolt Miner Launcher"));
        type({"b"});
        QVERIFY(comes("Copy Details"));
        type({"Escape"});
        QVERIFY(goes("Copy Details"));

        const std::filesystem::path file = tree->home() / "saved.log";
        type({"ctrl+shift+s"});
        QVERIFY(comes("Save Log As"));
        desktop->run("xdotool", {"type", file.c_str()});
        type({"Return"});
        QVERIFY(goes("Save Log As"));
        QVERIFY(waitUntil([&] { return std::filesystem::exists(file); }));
        QFile saved(file.c_str());
        QVERIFY(saved.open(QFile::ReadOnly));
        QCOMPARE(QString::fromUtf8(saved.readAll()).trimmed(),
                 launcher->consoleText("Lumora Core Engine").trimmed());

        type({"ctrl+w"});
        QVERIFY(waitUntil([&] { return launcher->visibleWindows().isEmpty(); }));
    }

    void theCommandsAreReachedByAScreenReader() {
        QVERIFY(scrollUp());
        QVERIFY(press("Newest Entry"));
        QVERIFY(goes("Newest Entry"));
        QVERIFY(chooseFromTheMenu("Find"));
        QVERIFY(comes("Done"));
        QVERIFY(press("Done"));
        QVERIFY(goes("Done"));
        QVERIFY(chooseFromTheMenu("About Ferrolt Miner Launcher"));
        QVERIFY(comes("Client Folder"));
        QVERIFY(press("Copy Details"));
        QVERIFY(waitUntil([&] { return onTheClipboard().contains("Client Folder: "); }));
        QVERIFY(press("Close"));
        QVERIFY(goes("Copy Details"));
        QVERIFY(chooseFromTheMenu("Save Log As…"));
        QVERIFY(comes("Save Log As"));
        QVERIFY(press("Cancel"));
        QVERIFY(goes("Save Log As"));
        QVERIFY(chooseFromTheMenu("Quit"));
        QVERIFY(waitUntil([&] { return !launcher->isRunning(); }));
    }
};

TEST_CLASS(MenuTest, QCoreApplication)
#include "MenuTest.moc"
