#include "PkexecCopy.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"
#include "Waiting.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fstream>

#include <grp.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

const QString scriptName = QStringLiteral("install-libreoffice");

/// A user namespace can hold one user only.
bool hasOtherUsers() {
    std::ifstream map("/proc/self/uid_map");
    unsigned long inside = 0;
    unsigned long outside = 0;
    unsigned long count = 0;
    map >> inside >> outside >> count;
    return count > 1 || static_cast<bool>(map >> inside);
}

void run(const QString &program, const QStringList &arguments) {
    QCOMPARE(QProcess::execute(program, arguments), 0);
}

}  // namespace

/// The helper that pkexec runs as root, run as root, with a folder of the test instead of /Applications.
class InstallationScriptTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> scratch;
    fs::path folder;
    fs::path applications;
    fs::path application;
    fs::path staging;
    fs::path source;
    QByteArray script;
    QProcessEnvironment environment;
    const uid_t user = hasOtherUsers() ? 65534 : 0;

    void replaceOnce(const QByteArray &text, const QByteArray &by) {
        QCOMPARE(script.count(text), 1);
        script.replace(text, by);
    }
    void beforeTheCopy(const QByteArray &commands) { replaceOnce("packed=$({", commands + "\npacked=$({"); }
    /// Any bytes instead of the archive: a process of the user could write them into the pipe.
    void thePackerGives(const fs::path &archive) {
        replaceOnce("as_user tar -c -f - -C \"$source\" .",
                    "cat '" + QByteArray::fromStdString(archive.string()) + "'");
    }
    void giveToUser(const fs::path &tree) {
        run("chown", {"-hR", QString("%1:%1").arg(user), QString::fromStdString(tree.string())});
    }
    static void make(const fs::path &path, const QByteArray &content, mode_t mode) {
        writeFile(path, content);
        QCOMPARE(chmod(path.c_str(), mode), 0);
    }
    std::unique_ptr<QProcess> start(const fs::path &from) const {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::ForwardedChannels);
        process->start("/bin/sh",
                       {"-c", QString::fromUtf8(script), scriptName, QString::fromStdString(from.string())});
        return process;
    }
    static bool succeeds(QProcess &process) {
        return process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit &&
               process.exitCode() == 0;
    }
    bool install() const { return succeeds(*start(source)); }

    void anOldApplicationIsThere() {
        fs::create_directories(application);
        writeFile(application / "old", "old");
    }
    std::vector<std::string> installed() const {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(applications))
            names.push_back(entry.path().filename().string());
        return names;
    }
    void onlyTheApplicationIsThere() const {
        QCOMPARE(installed(), std::vector<std::string>{"LibreOffice.app"});
    }
    void onlyTheOldApplicationIsThere() const {
        onlyTheApplicationIsThere();
        QCOMPARE(readFile(application / "old"), QByteArray("old"));
    }
    void failsAndKeepsTheOldOne() {
        anOldApplicationIsThere();
        QVERIFY(!install());
        onlyTheOldApplicationIsThere();
    }
    /// Root's, readable by all, writable by root alone, without set-id and sticky bits, and nothing but
    /// files, folders and links.
    void everythingIsRootsAndForAll() const {
        QVERIFY(fs::is_directory(fs::symlink_status(application)));
        const auto check = [](const fs::path &path) {
            struct stat status {};
            QCOMPARE(lstat(path.c_str(), &status), 0);
            QVERIFY2(status.st_uid == 0 && status.st_gid == 0, path.c_str());
            const mode_t mode = status.st_mode & 07777;
            if (S_ISDIR(status.st_mode))
                QVERIFY2(mode == 0755, path.c_str());
            else if (S_ISREG(status.st_mode))
                QVERIFY2(mode == 0644 || mode == 0755, path.c_str());
            else
                QVERIFY2(S_ISLNK(status.st_mode), path.c_str());
        };
        check(application);
        for (const auto &entry : fs::recursive_directory_iterator(application))
            check(entry.path());
    }

  private Q_SLOTS:
    void initTestCase() { QCOMPARE(geteuid(), uid_t{0}); }

    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        folder = scratch->path().toStdString();
        QCOMPARE(chmod(folder.c_str(), 0755), 0);
        applications = folder / "Applications";
        application = applications / "LibreOffice.app";
        staging = folder / "ferrolt-libreoffice-0F8FAD5B-D9CB-469F-A165-70867728950E";
        source = staging / "mnt/LibreOffice.app";
        fs::create_directories(source / "Contents/MacOS");
        make(source / "Contents/MacOS/soffice", "new", 0755);
        make(source / "Contents/PkgInfo", "APPL", 0604);
        fs::create_symlink("MacOS/soffice", source / "Contents/relative");
        fs::create_symlink("/etc/passwd", source / "Contents/absolute");
        giveToUser(staging);
        QCOMPARE(chmod(staging.c_str(), 0700), 0);

        script = QByteArray::fromStdString(PkexecCopy::helperScript());
        replaceOnce("applications=/Applications\n",
                    "applications='" + QByteArray::fromStdString(applications.string()) + "'\n");
        replaceOnce("lock=/run/", "lock=" + QByteArray::fromStdString(folder.string()) + "/");
        environment = QProcessEnvironment::systemEnvironment();
        environment.insert("PKEXEC_UID", QString::number(user));
        umask(022);
    }
    void cleanupTestCase() { umask(022); }

    void theApplicationArrivesWithItsLinks() {
        QVERIFY(install());
        onlyTheApplicationIsThere();
        everythingIsRootsAndForAll();
        QCOMPARE(readFile(application / "Contents/MacOS/soffice"), QByteArray("new"));
        QCOMPARE(fs::read_symlink(application / "Contents/relative"), fs::path("MacOS/soffice"));
        QCOMPARE(fs::read_symlink(application / "Contents/absolute"), fs::path("/etc/passwd"));
        struct stat status {};
        QCOMPARE(stat(applications.c_str(), &status), 0);
        QCOMPARE(status.st_mode & 07777U, 0755U);
    }

    void whateverTheUmaskAndTheModesAreAllCanReadAndRootAloneCanWrite_data() {
        QTest::addColumn<int>("mask");
        for (const int mask : {0, 022, 077, 0777})
            QTest::addRow("umask %03o", mask) << mask;
    }
    void whateverTheUmaskAndTheModesAreAllCanReadAndRootAloneCanWrite() {
        QFETCH(int, mask);
        for (const int mode : {06755, 04711, 02777, 01666, 0666, 0640, 0400, 0510})
            make(source / std::to_string(mode), "mode", static_cast<mode_t>(mode));
        for (const mode_t mode : {03777U, 0700U, 0555U}) {
            const fs::path inner = source / ("folder" + std::to_string(mode));
            fs::create_directory(inner);
            make(inner / "\u00dcber all's\n\"well\" ", "name", 0600);
            QCOMPARE(chmod(inner.c_str(), mode), 0);
        }
        run("chown", {"-hR", QString("%1:%1").arg(user), QString::fromStdString(source.string())});
        chmod((source / std::to_string(06755)).c_str(), 06755);  // chown took the bits away
        umask(static_cast<mode_t>(mask));
        const bool isInstalled = install();
        umask(022);
        QVERIFY(isInstalled);
        everythingIsRootsAndForAll();
        struct stat status {};
        for (const auto &[mode, expected] :
             std::map<int, mode_t>{{06755, 0755}, {0510, 0755}, {0666, 0644}, {0400, 0644}}) {
            QCOMPARE(stat((application / std::to_string(mode)).c_str(), &status), 0);
            QCOMPARE(status.st_mode & 07777U, expected);
        }
        QCOMPARE(stat(applications.c_str(), &status), 0);
        QCOMPARE(status.st_mode & 07777U, 0755U);
        QCOMPARE(readFile(application / "folder448" / "\u00dcber all's\n\"well\" "), QByteArray("name"));
    }

    void theEnvironmentChangesNothing() {
        fs::create_directory(folder / "bin");
        for (const char *program : {"tar", "rm", "chown", "chmod", "mv", "setpriv", "find", "stat"})
            writeScript(folder / "bin" / program,
                        "echo >'" + QByteArray::fromStdString(folder.string()) + "/abused'\n");
        environment.insert("PATH", QString::fromStdString((folder / "bin").string()));
        environment.insert("TAR_OPTIONS", "--exclude=*");
        environment.insert("POSIXLY_CORRECT", "1");
        environment.insert("LC_ALL", "../nonsense");
        environment.insert("CDPATH", "/tmp");
        environment.insert("IFS", "/");
        QVERIFY(install());
        everythingIsRootsAndForAll();
        QCOMPARE(readFile(application / "Contents/PkgInfo"), QByteArray("APPL"));
        QVERIFY(!fs::exists(folder / "abused"));
    }

    void theSetGroupIdOfTheFolderAboveIsNotInherited() {
        fs::create_directory(applications);
        QCOMPARE(chown(applications.c_str(), 0, hasOtherUsers() ? 50 : 0), 0);
        QCOMPARE(chmod(applications.c_str(), 02755), 0);
        QVERIFY(install());
        everythingIsRootsAndForAll();
    }

    void aFolderThatOnlyRootCanEnterIsOpenedToAll() {
        fs::create_directory(applications);
        QCOMPARE(chmod(applications.c_str(), 0700), 0);
        QVERIFY(install());
        struct stat status {};
        QCOMPARE(stat(applications.c_str(), &status), 0);
        QCOMPARE(status.st_mode & 07777U, 0755U);
    }

    void aFolderThatOthersCanWriteIsNotInstalledInto_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("isRoots");
        QTest::newRow("of the user") << 0755 << false;
        QTest::newRow("of a group") << 0775 << true;
        QTest::newRow("everybody's") << 01777 << true;
    }
    void aFolderThatOthersCanWriteIsNotInstalledInto() {
        QFETCH(int, mode);
        QFETCH(bool, isRoots);
        if (!isRoots && user == 0)
            QSKIP("this user namespace has a single user");
        anOldApplicationIsThere();
        if (!isRoots)
            giveToUser(applications);
        QCOMPARE(chmod(applications.c_str(), static_cast<mode_t>(mode)), 0);
        QVERIFY(!install());
        onlyTheOldApplicationIsThere();
    }

    void noOtherSourceIsTaken_data() {
        QTest::addColumn<QByteArray>("path");
        const QByteArray uuid = "0F8FAD5B-D9CB-469F-A165-70867728950E";
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("the staging folder") << QByteArray("ferrolt-libreoffice-" + uuid);
        QTest::newRow("another application") << QByteArray("ferrolt-libreoffice-" + uuid + "/mnt/Other.app");
        QTest::newRow("a folder of another name")
            << QByteArray("libreoffice-" + uuid + "/mnt/LibreOffice.app");
        QTest::newRow("a name in front")
            << QByteArray("x-ferrolt-libreoffice-" + uuid + "/mnt/LibreOffice.app");
        QTest::newRow("a lower-case UUID")
            << QByteArray("ferrolt-libreoffice-" + uuid.toLower() + "/mnt/LibreOffice.app");
        QTest::newRow("a short UUID")
            << QByteArray("ferrolt-libreoffice-" + uuid.chopped(1) + "/mnt/LibreOffice.app");
        QTest::newRow("a folder further in")
            << QByteArray("ferrolt-libreoffice-" + uuid + "/inner/mnt/LibreOffice.app");
        QTest::newRow("a way out") << QByteArray("ferrolt-libreoffice-" + uuid +
                                                 "/../elsewhere/mnt/LibreOffice.app");
    }
    void noOtherSourceIsTaken() {
        QFETCH(QByteArray, path);
        source = path.isEmpty() ? fs::path() : folder / path.toStdString();
        if (!source.empty())
            fs::create_directories(source);
        giveToUser(folder);
        failsAndKeepsTheOldOne();
    }

    void aRelativeSourceIsNotTaken() {
        source = fs::relative(source, "/");
        failsAndKeepsTheOldOne();
    }

    void aSourceThatIsNotAFolderOfTheUsersIsNotTaken_data() {
        QTest::addColumn<QByteArray>("which");
        QTest::addColumn<bool>("isLink");
        for (const char *which : {"", "mnt", "mnt/LibreOffice.app"}) {
            QTest::addRow("%s is a link", which) << QByteArray(which) << true;
            QTest::addRow("%s is another user's", which) << QByteArray(which) << false;
        }
    }
    void aSourceThatIsNotAFolderOfTheUsersIsNotTaken() {
        QFETCH(QByteArray, which);
        QFETCH(bool, isLink);
        const fs::path place = which.isEmpty() ? staging : staging / which.toStdString();
        if (isLink) {
            fs::rename(place, folder / "elsewhere");
            fs::create_symlink(folder / "elsewhere", place);
            QCOMPARE(lchown(place.c_str(), user, user), 0);
        } else {
            if (user == 0)
                QSKIP("this user namespace has a single user");
            QCOMPARE(chown(place.c_str(), 0, 0), 0);
            QCOMPARE(chmod(place.c_str(), 0755), 0);
        }
        failsAndKeepsTheOldOne();
    }

    void withoutAUserWhoAskedNothingIsDone_data() {
        QTest::addColumn<QString>("id");
        QTest::newRow("none") << QString();
        QTest::newRow("a name") << "root";
        QTest::newRow("negative") << "-1";
        QTest::newRow("beyond all users") << "99999999999999999999";
    }
    void withoutAUserWhoAskedNothingIsDone() {
        QFETCH(QString, id);
        environment.remove("PKEXEC_UID");
        if (!id.isEmpty())
            environment.insert("PKEXEC_UID", id);
        failsAndKeepsTheOldOne();
    }

    void whatTheUserCannotReadIsNotCopied_data() {
        QTest::addColumn<QByteArray>("swap");
        QTest::newRow("a folder for a link")
            << QByteArray("rm -r \"$source/Contents\"; ln -s '%1' \"$source/Contents\"");
        QTest::newRow("the application for a link")
            << QByteArray("rm -r \"$source\"; ln -s '%1' \"$source\"");
        QTest::newRow("the mount point for a link")
            << QByteArray("rm -r \"$staging/mnt\"; ln -s '%1' \"$staging/mnt\"");
        QTest::newRow("a file for a hard link")
            << QByteArray("rm \"$source/Contents/PkgInfo\"; ln '%1/secret' \"$source/Contents/PkgInfo\"");
    }
    /// A process of the same user that replaces a file between the check and the copy.
    void whatTheUserCannotReadIsNotCopied() {
        if (user == 0)
            QSKIP("this user namespace has a single user");
        QFETCH(QByteArray, swap);
        const fs::path foreign = folder / "foreign";
        fs::create_directories(foreign / "LibreOffice.app");
        make(foreign / "secret", "SECRET", 0600);
        make(foreign / "LibreOffice.app/secret", "SECRET", 0600);
        beforeTheCopy(swap.replace("%1", QByteArray::fromStdString(foreign.string())));
        anOldApplicationIsThere();
        const bool isInstalled = install();
        onlyTheApplicationIsThere();
        for (const auto &entry : fs::recursive_directory_iterator(application))
            if (entry.is_regular_file() && !entry.is_symlink())
                QVERIFY2(readFile(entry.path()) != "SECRET", entry.path().c_str());
        // A link within the application is copied as a link; anything else makes the copy fail.
        if (!isInstalled)
            onlyTheOldApplicationIsThere();
        else
            QVERIFY(fs::is_symlink(application / "Contents"));
    }

    void theReadingHalfHasNothingOfRoots() {
        if (user == 0)
            QSKIP("this user namespace has a single user");
        const fs::path notes = folder / "notes";
        make(notes, {}, 0666);
        writeScript(folder / "packer",
                    "{ id -u; id -g; id -G; grep -E '^(CapInh|CapEff|NoNewPrivs)' /proc/self/status; "
                    "readlink /proc/$$/fd/9 || echo no lock; } >'" +
                        QByteArray::fromStdString(notes.string()) + "'; exec tar \"$@\"");
        chmod((folder / "packer").c_str(), 0755);
        replaceOnce("as_user tar",
                    "as_user '" + QByteArray::fromStdString((folder / "packer").string()) + "'");
        const gid_t groups[] = {0, 4, 42};
        QCOMPARE(setgroups(3, groups), 0);
        const bool isInstalled = install();
        setgroups(1, groups);
        QVERIFY(isInstalled);
        QCOMPARE(readFile(notes),
                 QByteArray("65534\n65534\n65534\nCapInh:\t0000000000000000\nCapEff:\t0000000000000000\n"
                            "NoNewPrivs:\t1\nno lock\n"));
    }

    void aFileThatCannotBeReadFailsTheCopy() {
        if (user == 0)
            QSKIP("root can read everything");
        make(source / "unreadable", "x", 0000);
        giveToUser(source);
        failsAndKeepsTheOldOne();
    }

    void pipesSocketsAndDevicesAreNotInstalled() {
        QCOMPARE(mkfifo((source / "pipe").c_str(), 0666), 0);
        giveToUser(source);
        failsAndKeepsTheOldOne();
    }

    void twoNamesOfOneFileArriveAsTwo() {
        fs::create_hard_link(source / "Contents/PkgInfo", source / "again");
        QVERIFY(install());
        everythingIsRootsAndForAll();
        QCOMPARE(readFile(application / "again"), QByteArray("APPL"));
        QCOMPARE(readFile(application / "Contents/PkgInfo"), QByteArray("APPL"));
    }

    void aHostileArchiveInThePipeStaysInItsFolder_data() {
        QTest::addColumn<QByteArray>("commands");
        QTest::newRow("a name that climbs out")
            << QByteArray("echo x >../escaped; tar -cPf \"$1\" ../escaped; rm ../escaped");
        QTest::newRow("an absolute name")
            << QByteArray("echo x >../escaped; tar -cPf \"$1\" \"$PWD/../escaped\"; rm ../escaped");
        QTest::newRow("a file through a link") << QByteArray(
            "ln -s ../../../../victim out; tar -cf \"$1\" out; rm out; mkdir out; echo x >out/file; tar -rf "
            "\"$1\" out/file");
        QTest::newRow("a hard link to a file outside") << QByteArray(
            "ln ../victim/file one; ln one two; tar -cPf \"$1\" --transform=\"s|^one|$PWD/../victim/file|h\" "
            "one two");
    }
    void aHostileArchiveInThePipeStaysInItsFolder() {
        QFETCH(QByteArray, commands);
        fs::create_directories(folder / "victim");
        writeFile(folder / "victim/file", "precious");
        fs::create_directory(folder / "making");
        const fs::path archive = folder / "hostile.tar";
        QProcess tar;
        tar.setWorkingDirectory(QString::fromStdString((folder / "making").string()));
        tar.start("/bin/sh",
                  {"-ec", QString::fromUtf8(commands), "sh", QString::fromStdString(archive.string())});
        QVERIFY(succeeds(tar));
        thePackerGives(archive);
        anOldApplicationIsThere();
        const bool isInstalled = install();
        QVERIFY(!fs::exists(folder / "escaped"));
        QVERIFY(!fs::exists(applications / "escaped"));
        QCOMPARE(readFile(folder / "victim/file"), QByteArray("precious"));
        struct stat status {};
        QCOMPARE(stat((folder / "victim/file").c_str(), &status), 0);
        QVERIFY(!fs::exists(application / "two") ||
                !fs::equivalent(application / "two", folder / "victim/file"));
        onlyTheApplicationIsThere();
        if (isInstalled)
            everythingIsRootsAndForAll();
        else
            onlyTheOldApplicationIsThere();
    }

    void devicesAndModesInAHostileArchiveAreOfNoUse() {
        const fs::path making = folder / "making";
        fs::create_directory(making);
        make(making / "shell", "#!/bin/sh\n", 06777);
        QCOMPARE(chmod(making.c_str(), 07777), 0);
        const fs::path archive = folder / "hostile.tar";
        run("tar", {"-C", QString::fromStdString(making.string()), "-cpf",
                    QString::fromStdString(archive.string()), "."});
        thePackerGives(archive);
        QVERIFY(install());
        everythingIsRootsAndForAll();

        // The root of a user namespace can make no device.
        if (mknod((making / "memory").c_str(), S_IFCHR | 0666, makedev(1, 1)) != 0)
            QCOMPARE(mkfifo((making / "memory").c_str(), 0666), 0);
        run("tar", {"-C", QString::fromStdString(making.string()), "-cpf",
                    QString::fromStdString(archive.string()), "."});
        QVERIFY(!install());
        onlyTheApplicationIsThere();
        QVERIFY(!fs::exists(application / "memory"));
    }

    void aDiskThatIsFullLeavesTheOldApplication() {
        make(source / "large", QByteArray(2'000'000, 'x'), 0644);
        giveToUser(source);
        script.prepend("ulimit -f 500\n");
        failsAndKeepsTheOldOne();
    }

    void anApplicationThatCannotBeMovedIntoPlaceLeavesTheOldOne() {
        replaceOnce("mv -T -- \"$work/new\" \"$application\"", "false");
        failsAndKeepsTheOldOne();
    }

    void theOldApplicationIsReplacedWhole() {
        anOldApplicationIsThere();
        QVERIFY(install());
        onlyTheApplicationIsThere();
        QVERIFY(!fs::exists(application / "old"));
        everythingIsRootsAndForAll();
    }

    void aLinkInTheApplicationsPlaceIsReplacedAndNotFollowed() {
        fs::create_directories(folder / "elsewhere");
        writeFile(folder / "elsewhere/mine", "precious");
        fs::create_directories(applications);
        fs::create_directory_symlink(folder / "elsewhere", application);
        QVERIFY(install());
        everythingIsRootsAndForAll();
        onlyTheApplicationIsThere();
        QCOMPARE(readFile(folder / "elsewhere/mine"), QByteArray("precious"));
    }

    void aCopyThatIsKilledLeavesTheOldApplicationAndTheNextOneClearsUp_data() {
        QTest::addColumn<QByteArray>("where");
        QTest::newRow("while it unpacks") << QByteArray("packed=$({");
        QTest::newRow("between the two renames") << QByteArray("mv -T -- \"$work/new\" \"$application\"");
    }
    void aCopyThatIsKilledLeavesTheOldApplicationAndTheNextOneClearsUp() {
        QFETCH(QByteArray, where);
        anOldApplicationIsThere();
        const QByteArray whole = script;
        replaceOnce(where, "kill -9 $$\n" + where);
        QVERIFY(!install());
        QVERIFY(installed().size() == 2 || !fs::exists(application));

        // The next run, even a failing one, puts the old application back; a successful one replaces it.
        script = whole;
        replaceOnce("packed=$({", "exit 1\npacked=$({");
        QVERIFY(!install());
        onlyTheOldApplicationIsThere();
        script = whole;
        replaceOnce(where, "kill -9 $$\n" + where);
        QVERIFY(!install());
        script = whole;
        QVERIFY(install());
        onlyTheApplicationIsThere();
        everythingIsRootsAndForAll();
    }

    void aCopyThatIsAskedToEndCleansUp() {
        beforeTheCopy("kill -TERM $$");
        failsAndKeepsTheOldOne();
    }

    void aSecondCopyWaitsForTheFirst() {
        const fs::path pipe = folder / "pipe";
        QCOMPARE(mkfifo(pipe.c_str(), 0600), 0);
        const QByteArray whole = script;
        beforeTheCopy("read -r line <'" + QByteArray::fromStdString(pipe.string()) + "'");
        const auto first = start(source);
        QVERIFY(waitUntil([&] { return fs::exists(applications / ".ferrolt-libreoffice/new"); }));

        script = whole;
        const fs::path other =
            folder / "ferrolt-libreoffice-1F8FAD5B-D9CB-469F-A165-70867728950E/mnt/LibreOffice.app";
        fs::create_directories(other);
        make(other / "second", "second", 0644);
        giveToUser(other.parent_path().parent_path());
        const auto second = start(other);
        // It waits for the lock when flock is one of its child processes.
        QVERIFY(waitUntil([&] {
            return !readFile("/proc/" + std::to_string(second->processId()) + "/task/" +
                             std::to_string(second->processId()) + "/children")
                        .isEmpty();
        }));
        QVERIFY(!second->waitForFinished(500));
        writeFile(pipe, "go on\n");
        QVERIFY(succeeds(*first));
        QVERIFY(succeeds(*second));
        onlyTheApplicationIsThere();
        QCOMPARE(readFile(application / "second"), QByteArray("second"));
        everythingIsRootsAndForAll();
    }

    void nobodyElseCanHoldTheLock() {
        QVERIFY(install());
        struct stat status {};
        QCOMPARE(stat((folder / "ferrolt-install-libreoffice.lock").c_str(), &status), 0);
        QCOMPARE(status.st_mode & 07777U, 0600U);
        QCOMPARE(status.st_uid, uid_t{0});
    }
};

TEST_CLASS(InstallationScriptTest, QCoreApplication)
#include "InstallationScriptTest.moc"
