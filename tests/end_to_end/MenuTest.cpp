#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program's commands, by keys, by mouse and by a screen reader.
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
    bool does(const QStringList &command) const {
        int exitCode = -1;
        read(command, &exitCode);
        return exitCode == 0;
    }
    bool press(const QString &name) const { return does({"press", name}); }
    /// Where `command` says.
    bool click(const QStringList &command) const {
        const QStringList spot = read(command).split(' ');
        if (spot.size() != 2)
            return false;
        desktop->run("xdotool", {"mousemove", spot[0], spot[1].trimmed(), "click", "1"});
        return true;
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
    /// Does a command of the menu.
    bool reach(const QString &command, const QStringList &keys) const {
        QFETCH(QString, by);
        if (by == "keys")
            type(keys);
        if (by == "mouse")
            return click({"spot", "Menu"}) && click({"menu-spot", command});
        return by == "keys" || (press("Menu") && does({"choose", command}));
    }
    /// The number in the find bar's "1 of 9", once it is another than `before`.
    int otherHit(int before) const {
        int hit = before;
        waitUntil([&] {
            const auto number = QRegularExpression("\\t(\\d+) of \\d+").match(read({"list"})).captured(1);
            hit = number.isEmpty() ? before : number.toInt();
            return hit != before;
        });
        return hit;
    }
    bool isOpenedAtLogIn() const {
        return std::filesystem::exists(tree->home() / ".config/autostart/ferrolt-miner-launcher.desktop");
    }

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

    void everyCommandIsReached_data() {
        QTest::addColumn<QString>("by");
        for (const char *by : {"keys", "mouse", "screen reader"})
            QTest::newRow(by) << by;
    }
    void everyCommandIsReached() {
        QFETCH(QString, by);
        QVERIFY(scrollUp());
        if (by == "keys")
            type({"alt+End"});
        else
            QVERIFY(by == "mouse" ? click({"spot", "Newest Entry"}) : press("Newest Entry"));
        QVERIFY(goes("Newest Entry"));

        QVERIFY(reach("Select All", {"ctrl+a"}));
        QVERIFY(reach("Copy", {"ctrl+c"}));
        QVERIFY(waitUntil([&] { return onTheClipboard().startsWith("Lumora Core started.\n"); }));
        QVERIFY(reach("Find", {"ctrl+f"}));
        QVERIFY(comes("Done"));
        type({"ctrl+a", "e"});
        QVERIFY(reach("Find Next", {"F3"}));
        const int first = otherHit(-1);
        QVERIFY(first > 0);
        QVERIFY(reach("Find Next", {"F3"}));
        QVERIFY(otherHit(first) != first);
        QVERIFY(reach("Find Previous", {"shift+F3"}));
        QCOMPARE(otherHit(first + 1), first);
        QVERIFY(press("Done"));
        QVERIFY(goes("Done"));
        QVERIFY(reach("Save Log As…", {"ctrl+shift+s"}));
        QVERIFY(comes("Save Log As"));
        QVERIFY(press("Cancel"));
        QVERIFY(goes("Save Log As"));

        QVERIFY(reach("Settings", {"ctrl+comma"}));
        QVERIFY(comes("E-Mail Address"));
        QVERIFY(reach("Home", {"alt+Home"}));
        QVERIFY(goes("E-Mail Address"));
        QVERIFY(reach("Open at Login", {"F10", "g"}));
        QVERIFY(waitUntil([&] { return isOpenedAtLogIn(); }));
        QVERIFY(reach("About Ferrolt Miner Launcher", {"F10", "b"}));
        QVERIFY(comes("Client Folder"));
        QVERIFY(press("Copy Details"));
        QVERIFY(waitUntil([&] { return onTheClipboard().contains("Client Folder: "); }));
        type({"Escape"});
        QVERIFY(goes("Copy Details"));

        QVERIFY(reach("Close", {"ctrl+w"}));
        QVERIFY(waitUntil([&] { return launcher->visibleWindows().isEmpty(); }));
        QCOMPARE(launcher->startAgain(), 0);
        QVERIFY(waitUntil([&] { return launcher->visibleWindows().size() == 1; }));
        QVERIFY(reach("Quit", {"ctrl+q"}));
        QVERIFY(waitUntil([&] { return !launcher->isRunning(); }));
    }

    void aLogIsSavedAsItIsShown() {
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
    }
};

TEST_CLASS(MenuTest, QCoreApplication)
#include "MenuTest.moc"
