#include "InstallationScene.h"
#include "PathResolvers.h"
#include "RecordingAlerts.h"
#include "Seams.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTest>

#include <cstdlib>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

const fs::path application = "/Applications/LibreOffice.app";

QByteArray noise(qsizetype size) {
    return QByteArray(testPattern() + testPattern()).left(size);
}

/// What an image's author can put into one, with the modes that nobody should have in /Applications.
QByteArray applicationImage() {
    TestHfsVolume volume(QStringLiteral("LibreOffice 26.2"));
    const auto app = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("LibreOffice.app"), 0040777);
    const auto contents = volume.addFolder(app, QStringLiteral("Contents"), 0043777);
    const auto closed = volume.addFolder(contents, QStringLiteral("closed"), 0040000 | 0111);
    volume.addFile(contents, QStringLiteral("soffice"), noise(1'200'000), 0100755);
    volume.addFile(contents, QStringLiteral("set-id"), "set-id", 0106777);
    volume.addFile(contents, QStringLiteral("writable"), "writable", 0100666);
    volume.addFile(closed, QStringLiteral("U\u0308ber all's \"well\""), "private", 0100200);
    volume.addLink(contents, QStringLiteral("link"), "soffice");
    volume.addLink(contents, QStringLiteral("absolute"), "/etc/shadow");
    volume.addLink(TestHfsVolume::rootFolder, QStringLiteral("Applications"), "/Applications");
    return udifImage(volume.bytes(), UdifBlocks::Zlib);
}

}  // namespace

/// A whole installation with the tools, the prompt and the destination that the program is shipped with, by
/// an ordinary user. Run by private_system.sh, where the user's name says how the prompt is answered.
class PrivilegedInstallationTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<InstallationScene> scene;

    void nothingElseIsThere() const {
        QCOMPARE(QDir("/Applications")
                     .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
                 QStringList{"LibreOffice.app"});
        QVERIFY(scene->isTemporaryFolderEmpty());
    }
    static mode_t modeOf(const fs::path &path) {
        struct stat status {};
        return lstat(path.c_str(), &status) == 0 ? status.st_mode : 0;
    }
    static void isRootsAndForAll(const fs::path &path) {
        struct stat status {};
        QCOMPARE(lstat(path.c_str(), &status), 0);
        QVERIFY2(status.st_uid == 0 && status.st_gid == 0, path.c_str());
        if (S_ISLNK(status.st_mode))
            return;
        QVERIFY2(S_ISDIR(status.st_mode) || S_ISREG(status.st_mode), path.c_str());
        const mode_t mode = status.st_mode & 07777;
        QVERIFY2(mode == 0755 || (mode == 0644 && S_ISREG(status.st_mode)), path.c_str());
    }

  private Q_SLOTS:
    void initTestCase() {
        QVERIFY(geteuid() != 0);
        for (const char *name : {"SHELL", "LC_TIME", "TERM"})
            qputenv(name, "/../no%such");  // pkexec refuses to start for each of these
    }

    void init() {
        scene = std::make_unique<InstallationScene>();
        const Seams production(std::make_shared<RecordingAlerts>());
        usePathRoots(production.paths);
        scene->services.tools = production.tools;
        scene->services.privilegedCopy = production.privilegedCopy;
        scene->services.application = libreOfficePath();
        QCOMPARE(scene->services.application, application);
        const QByteArray image = applicationImage();
        scene->server.on(QStringLiteral("/image.dmg"), TestHttpsServer::replies(200, image));
        scene->server.on(
            InstallationScene::metalinkPath(),
            TestHttpsServer::replies(
                200, InstallationScene::metalink({scene->server.url(QStringLiteral("/image.dmg")).toString()},
                                                 InstallationScene::sha256(image))));
    }
    void cleanup() { umask(022); }

    void whatIsInstalledIsRootsReadableByAllAndWritableByRootAlone_data() {
        QTest::addColumn<int>("mask");
        QTest::addColumn<QString>("temporary");
        for (const int mask : {0077, 0000, 0022}) {
            QTest::addRow("umask %03o", mask) << mask << QStringLiteral("tmp");
            QTest::addRow("umask %03o, odd TMPDIR", mask)
                << mask << QStringLiteral("it's a \"tm\u00fc\" $(id) folder");
        }
    }
    void whatIsInstalledIsRootsReadableByAllAndWritableByRootAlone() {
        QFETCH(int, mask);
        QFETCH(QString, temporary);
        fs::remove(scene->temporary);
        const fs::path folder = scene->folder / temporary.toStdString();
        fs::create_directory(folder);
        qputenv("TMPDIR", QByteArray::fromStdString(folder.string()));
        scene->services.temporaryFolder = Seams(std::make_shared<RecordingAlerts>()).temporaryFolder;
        qunsetenv("TMPDIR");
        QCOMPARE(scene->services.temporaryFolder, folder);
        umask(static_cast<mode_t>(mask));
        // The first row finds nothing there, and the others an older version.
        const bool isUpgrade = fs::exists(application);
        if (isUpgrade)
            scene->record(QStringLiteral("7.6.4"));
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->recorded(), std::optional(version));
        QVERIFY(fs::is_empty(folder));
        fs::create_directory(scene->temporary);
        nothingElseIsThere();

        isRootsAndForAll("/Applications");
        isRootsAndForAll(application);
        std::size_t count = 0;
        for (const auto &entry : fs::recursive_directory_iterator(application)) {
            isRootsAndForAll(entry.path());
            if (entry.is_regular_file() && !entry.is_symlink())
                QVERIFY(!readFile(entry.path()).isEmpty());
            ++count;
        }
        QCOMPARE(count, std::size_t{8});
        const fs::path contents = application / "Contents";
        QCOMPARE(readFile(contents / "soffice"), noise(1'200'000));
        QCOMPARE(modeOf(contents / "soffice"), mode_t{0100755});
        QCOMPARE(modeOf(contents / "set-id"), mode_t{0100755});
        QCOMPARE(modeOf(contents / "writable"), mode_t{0100644});
        QCOMPARE(readFile(contents / "closed/\u00dcber all's \"well\""), QByteArray("private"));
        QCOMPARE(fs::read_symlink(contents / "link"), fs::path("soffice"));
        QCOMPARE(fs::read_symlink(contents / "absolute"), fs::path("/etc/shadow"));
        QCOMPARE(scene->install(), InstallOutcome::alreadyCurrent());
    }

    void aRefusalKeepsTheOldApplicationAndLeavesNothing() {
        QCOMPARE(readFile(application / "old"), QByteArray("old\n"));
        scene->record(QStringLiteral("7.6.4"));
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(
            scene->install(),
            InstallOutcome::failed(QStringLiteral("authorization was denied or the privileged copy failed")));
        QVERIFY(clock.elapsed() < 30'000);
        QCOMPARE(scene->log().last(), QStringLiteral("Installing LibreOffice to /Applications (administrator "
                                                     "authorization required)\u2026\n"));
        nothingElseIsThere();
        QCOMPARE(readFile(application / "old"), QByteArray("old\n"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }

    void aMissingArchiverIsNamedBeforeAnythingIsDownloaded() {
        QCOMPARE(scene->install(),
                 InstallOutcome::failed(QStringLiteral("failed to mount the LibreOffice disk image")));
        QCOMPARE(
            scene->log(),
            QStringList{"LibreOffice cannot be installed: 7-Zip (7zz or 7z) is missing on this computer.\n"});
        QCOMPARE(scene->server.requestCount(InstallationScene::metalinkPath()), 0);
        QVERIFY(scene->isTemporaryFolderEmpty());
    }
};

TEST_MAIN(PrivilegedInstallationTest) {
    QCoreApplication qt(argc, argv);
    const QString user = QString::fromLocal8Bit(getpwuid(getuid())->pw_name);
    QStringList arguments = QCoreApplication::arguments();
    if (user == "refused" || user == "unasked")
        arguments << "aRefusalKeepsTheOldApplicationAndLeavesNothing";
    else if (user == "bare")
        arguments << "aMissingArchiverIsNamedBeforeAnythingIsDownloaded";
    else
        arguments << "whatIsInstalledIsRootsReadableByAllAndWritableByRootAlone";
    PrivilegedInstallationTest test;
    return QTest::qExec(&test, arguments);
}

#include "PrivilegedInstallationTest.moc"
