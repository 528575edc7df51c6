#include "AutostartEntry.h"
#include "InChild.h"
#include "Rights.h"
#include "SmallDisk.h"
#include "TestProgram.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include <sys/stat.h>

using namespace ferrolt;

namespace fs = std::filesystem;
using State = LoginItem::State;

class AutostartEntryTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> folder;

    fs::path place() const { return folder->path().toStdString(); }
    fs::path own() const { return place() / "config/autostart"; }
    fs::path ofSystem() const { return place() / "etc/autostart"; }
    fs::path entry() const { return own() / "ferrolt-miner-launcher.desktop"; }
    fs::path systemEntry() const { return ofSystem() / "ferrolt-miner-launcher.desktop"; }

    AutostartEntry item(const fs::path &command = "ferrolt-miner-launcher") const {
        return AutostartEntry(command, {own(), ofSystem()});
    }

    static QString reasonOf(int error) {
        return QString::fromLocal8Bit(std::generic_category().message(error).c_str()) + ".";
    }

    static void write(const fs::path &file, const QByteArray &text) {
        fs::create_directories(file.parent_path());
        QFile opened(QFile::decodeName(file.c_str()));
        QVERIFY(opened.open(QFile::WriteOnly | QFile::Truncate));
        QCOMPARE(opened.write(text), text.size());
    }
    static QByteArray read(const fs::path &file) {
        QFile opened(QFile::decodeName(file.c_str()));
        return opened.open(QFile::ReadOnly) ? opened.readAll() : QByteArray();
    }
    void replace(const QByteArray &before, const QByteArray &after) const {
        const QByteArray text = read(entry());
        QVERIFY(text.contains(before));
        write(entry(), QByteArray(text).replace(before, after));
    }
    static QByteArray entryOf(const QByteArray &exec, const QByteArray &more = {}) {
        return "[Desktop Entry]\nType=Application\nName=x\nExec=" + exec + "\n" + more;
    }

  private Q_SLOTS:
    void init() {
        folder = std::make_unique<QTemporaryDir>();
        QVERIFY(folder->isValid());
    }

    void itIsOffUntilItIsSwitchedOnAndOffAgainAfterwards() {
        AutostartEntry entryOfUser = item();
        QCOMPARE(entryOfUser.state(), State::Off);
        QVERIFY(!fs::exists(own()));
        QCOMPARE(entryOfUser.set(State::On), std::nullopt);
        QCOMPARE(entryOfUser.state(), State::On);
        QCOMPARE(entryOfUser.set(State::On), std::nullopt);
        QCOMPARE(entryOfUser.set(State::Off), std::nullopt);
        QCOMPARE(entryOfUser.state(), State::Off);
        QVERIFY(!fs::exists(entry()));
        QCOMPARE(entryOfUser.set(State::Off), std::nullopt);
    }

    void theEntryIsOneThatDesktopsAccept() {
        QCOMPARE(item("/opt/a \"$HOME\" `b` 100%/ferrolt-miner-launcher").set(State::On), std::nullopt);
        const QByteArray text = read(entry());
        QVERIFY2(text.contains("\nX-GNOME-Autostart-enabled=true\n"), text.constData());
        QVERIFY2(!text.contains("OnlyShowIn"), text.constData());
        QProcess tool;
        tool.start("desktop-file-validate", {QString(entry().c_str())});
        QVERIFY(tool.waitForFinished());
        QCOMPARE(tool.readAll(), QByteArray());
        QCOMPARE(tool.exitCode(), 0);
    }

    void execIsQuotedByTheRulesOfDesktopEntries_data() {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("exec");
        QTest::newRow("name") << "ferrolt-miner-launcher"
                              << "ferrolt-miner-launcher";
        QTest::newRow("path") << "/opt/a-b_c.d/launcher"
                              << "/opt/a-b_c.d/launcher";
        QTest::newRow("blank") << "/opt/a b/c"
                               << "\"/opt/a b/c\"";
        QTest::newRow("percent") << "/opt/5%u/c"
                                 << "/opt/5%%u/c";
        QTest::newRow("dollar") << "/opt/$x/c"
                                << "\"/opt/\\\\$x/c\"";
        QTest::newRow("quote") << "/opt/\"/c"
                               << "\"/opt/\\\\\"/c\"";
        QTest::newRow("backtick") << "/opt/`/c"
                                  << "\"/opt/\\\\`/c\"";
        QTest::newRow("backslash") << "/opt/\\/c"
                                   << "\"/opt/\\\\\\\\/c\"";
        QTest::newRow("apostrophe") << "/opt/it's/c"
                                    << "\"/opt/it's/c\"";
        QTest::newRow("umlaut") << QString::fromUtf8("/opt/ä/c") << QString::fromUtf8("/opt/ä/c");
    }
    void execIsQuotedByTheRulesOfDesktopEntries() {
        QFETCH(QString, command);
        QFETCH(QString, exec);
        QCOMPARE(AutostartEntry::execValue(command.toStdString()), exec.toUtf8());
    }

    /// Without a percent sign: GLib 2.74 looks for the program before it undoubles that.
    void aDesktopReadsThePathBackFromTheEntry() {
        const fs::path program = place() / "a \"$HOME\" `b` \\n it's" / "ferrolt-miner-launcher";
        fs::create_directory(program.parent_path());
        fs::copy_file("/bin/true", program);
        QCOMPARE(item(program).set(State::On), std::nullopt);
        const auto command = [&] {
            QProcess desktop;
            desktop.start(FERROLT_AUTOSTART_COMMAND, {QString(entry().c_str())});
            desktop.waitForFinished();
            return desktop.readAll();
        };
        QCOMPARE(command(), QByteArray::fromStdString(program.string()) + '\n');
        fs::remove(program);  // as after the package was removed
        QCOMPARE(command(), QByteArray());
    }

    void aPathThatNoEntryCanHoldIsRefused_data() {
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("equals sign") << QByteArray("/opt/a=b/ferrolt-miner-launcher");
        QTest::newRow("line break") << QByteArray("/opt/a\nb/ferrolt-miner-launcher");
        QTest::newRow("not UTF-8") << QByteArray("/opt/a\xff/ferrolt-miner-launcher");
    }
    void aPathThatNoEntryCanHoldIsRefused() {
        QFETCH(QByteArray, path);
        AutostartEntry refused = item(path.toStdString());
        const auto reason = refused.set(State::On);
        QVERIFY(reason && reason->startsWith("The path of this program"));
        QCOMPARE(refused.state(), State::Off);
        QVERIFY(!fs::exists(entry()));
    }

    void whatTheDesktopsOwnSettingsDoToItShows() {
        AutostartEntry entryOfUser = item();
        QCOMPARE(entryOfUser.set(State::On), std::nullopt);
        replace("X-GNOME-Autostart-enabled=true", "X-GNOME-Autostart-enabled = false");
        QCOMPARE(entryOfUser.state(), State::Off);
        QCOMPARE(entryOfUser.set(State::On), std::nullopt);
        QCOMPARE(entryOfUser.state(), State::On);
        write(entry(), read(entry()) + "Hidden=true\n");
        QCOMPARE(entryOfUser.state(), State::Off);
        QCOMPARE(entryOfUser.set(State::On), std::nullopt);
        QCOMPARE(entryOfUser.state(), State::On);
        write(entry(), "[Desktop Entry]\nHidden=true\n");
        QCOMPARE(entryOfUser.state(), State::Off);
        QCOMPARE(entryOfUser.set(State::On), std::nullopt);
        QCOMPARE(entryOfUser.state(), State::On);
        fs::remove(entry());
        QCOMPARE(entryOfUser.state(), State::Off);
        // A copy of the entry in the applications menu, as some settings programs make it.
        write(entry(), entryOf("ferrolt-miner-launcher", "[Desktop Action x]\nHidden=true\nExec=y\n"));
        QCOMPARE(entryOfUser.state(), State::On);
        QCOMPARE(entryOfUser.set(State::Off), std::nullopt);
        QVERIFY(!fs::exists(entry()));
    }

    void anEntryOfTheProgramsFormerPlaceIsReplaced() {
        QCOMPARE(item("/home/ada/old place/ferrolt-miner-launcher").set(State::On), std::nullopt);
        AutostartEntry moved = item("/home/ada/new place/ferrolt-miner-launcher");
        QCOMPARE(moved.state(), State::Off);
        QCOMPARE(moved.set(State::On), std::nullopt);
        QCOMPARE(moved.state(), State::On);
        QVERIFY(read(entry()).contains("TryExec=/home/ada/new place/ferrolt-miner-launcher\n"));
    }

    void anEntryThatIsNotOursStaysAsItIs_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("another program") << entryOf("backup --now");
        QTest::newRow("with an argument") << entryOf("ferrolt-miner-launcher --x");
        QTest::newRow("in a shell") << entryOf("sh -c ferrolt-miner-launcher", "TryExec=sh\n");
        QTest::newRow("switched off") << entryOf("backup --now", "Hidden=true\n");
        QTest::newRow("no entry at all") << QByteArray("to do: buy milk\n");
        QTest::newRow("zeros") << QByteArray(1000, '\0');
        QTest::newRow("large") << entryOf("ferrolt-miner-launcher", QByteArray(100'000, '#'));
    }
    void anEntryThatIsNotOursStaysAsItIs() {
        QFETCH(QByteArray, text);
        write(entry(), text);
        AutostartEntry entryOfUser = item();
        QCOMPARE(entryOfUser.state(), State::Off);
        QCOMPARE(entryOfUser.set(State::Off), std::nullopt);
        const auto reason = entryOfUser.set(State::On);
        QCOMPARE(reason.value_or("none"),
                 QString::fromUtf8("“%1” was not written by this program, and is left as it is.")
                     .arg(entry().c_str()));
        QCOMPARE(read(entry()), text);
    }

    void aPipeOrFolderInItsPlaceIsNotOursAndHoldsNothingUp() {
        fs::create_directories(own());
        QCOMPARE(::mkfifo(entry().c_str(), 0600), 0);
        AutostartEntry entryOfUser = item();
        QCOMPARE(entryOfUser.state(), State::Off);
        QVERIFY(entryOfUser.set(State::On));
        QVERIFY(fs::is_fifo(entry()));
        fs::remove(entry());
        fs::create_directory(entry());
        QVERIFY(entryOfUser.set(State::On));
        QVERIFY(fs::is_directory(entry()));
    }

    void theSystemsEntryCountsAndIsHiddenByTheUsers() {
        write(systemEntry(), entryOf("ferrolt-miner-launcher"));
        const QByteArray before = read(systemEntry());
        AutostartEntry entryOfUser = item();
        QCOMPARE(entryOfUser.state(), State::On);
        QCOMPARE(entryOfUser.set(State::Off), std::nullopt);
        QCOMPARE(entryOfUser.state(), State::Off);
        QVERIFY(read(entry()).contains("\nHidden=true\n"));
        QCOMPARE(entryOfUser.set(State::On), std::nullopt);
        QCOMPARE(entryOfUser.state(), State::On);
        QCOMPARE(entryOfUser.set(State::Off), std::nullopt);
        QCOMPARE(entryOfUser.state(), State::Off);
        QCOMPARE(read(systemEntry()), before);
    }

    void aFolderThatIsALinkIsFollowedAndADanglingOneIsAnError() {
        fs::create_directories(place() / "config");
        fs::create_directory(place() / "elsewhere");
        fs::create_directory_symlink(place() / "elsewhere", own());
        AutostartEntry entryOfUser = item();
        QCOMPARE(entryOfUser.set(State::On), std::nullopt);
        QVERIFY(fs::exists(place() / "elsewhere/ferrolt-miner-launcher.desktop"));
        fs::remove_all(place() / "elsewhere");
        QCOMPARE(entryOfUser.state(), State::Off);
        QCOMPARE(entryOfUser.set(State::On).value_or("none"),
                 QString::fromUtf8("The folder “%1” is a link that leads nowhere.").arg(own().c_str()));
        QVERIFY(fs::is_symlink(own()));
        QVERIFY(!fs::exists(place() / "elsewhere"));
    }

    void aFolderWithoutRightsIsAnErrorAndNothingChanges() {
        QCOMPARE(item().set(State::On), std::nullopt);
        fs::permissions(own(), fs::perms::owner_read | fs::perms::owner_exec);
        enum Result { Right, NoRights, Removed, WrongReason, Written };
        const int result = inChild([&]() -> int {
            if (!obeyPermissions())
                return NoRights;
            AutostartEntry entryOfUser = item();
            const auto removal = entryOfUser.set(State::Off);
            if (!removal || entryOfUser.state() != State::On)
                return Removed;
            if (!removal->endsWith(" could not be removed: " + reasonOf(EACCES)))
                return WrongReason;
            AutostartEntry moved = item("/opt/other/ferrolt-miner-launcher");
            const auto writing = moved.set(State::On);
            if (!writing || moved.state() != State::Off)
                return Written;
            return writing->endsWith(" could not be written: " + reasonOf(EACCES)) ? Right : WrongReason;
        });
        fs::permissions(own(), fs::perms::owner_all);
        QCOMPARE(result, int{Right});
    }

    void aFullDiskIsAnErrorAndLeavesNothing() {
        const fs::path disk = place() / "config";
        fs::create_directory(disk);
        enum Result { Right, NoFiller, Written, WrongReason, Left, MayNotMount };
        const auto fillAndSwitch = [&]() -> int {
            fs::create_directory(own());
            {
                QFile filler(QFile::decodeName((disk / "filler").c_str()));
                if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
                    return NoFiller;
                while (filler.write(QByteArray(4096, 'x')) > 0) {
                }
            }
            AutostartEntry entryOfUser = item();
            const auto reason = entryOfUser.set(State::On);
            if (!reason || entryOfUser.state() != State::Off)
                return Written;
            if (!reason->endsWith(" could not be written: " + reasonOf(ENOSPC)))
                return WrongReason;
            return fs::is_empty(own()) ? Right : Left;
        };
        SmallDisk small(disk, 128 * 1024);
        int result = inChild([&]() -> int { return small.mount() ? fillAndSwitch() : int{MayNotMount}; });
        if (result == MayNotMount) {
            if (!small.useSharedMemory())
                QSKIP("This user may not mount a file system, and /dev/shm is not small.");
            result = inChild(fillAndSwitch);
        }
        QCOMPARE(result, int{Right});
    }
};

TEST_CLASS(AutostartEntryTest, QCoreApplication)
#include "AutostartEntryTest.moc"
