#include "FileDescriptor.h"
#include "FileReplacement.h"
#include "InChild.h"
#include "TestProgram.h"

#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::vector<std::string> calls;  // of fsync() and rename()
int syncResult = 0;
int modeResult = 0;
std::optional<std::string> dyingCall;
int locksToRefuse = 0;
int lockError = EWOULDBLOCK;
std::filesystem::path emptied;   ///< a folder that loses its new files just before a lock
std::filesystem::path cleaning;  ///< a folder that another process cleans up just before a renaming
int syncsToInterrupt = 0;

off_t sizeOf(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 ? status.st_size : -1;
}

void dieIn(const char *call) {
    if (dyingCall == call)
        kill(getpid(), SIGKILL);
}

}  // namespace

// These four replace the C library's functions in this program.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int fsync(int descriptor) {
    calls.push_back("fsync of " + std::to_string(sizeOf(descriptor)) + " bytes");
    dieIn("fsync");
    if (syncsToInterrupt > 0) {
        --syncsToInterrupt;
        errno = EINTR;
        return -1;
    }
    if (syncResult == 0)
        return static_cast<int>(syscall(SYS_fsync, descriptor));
    errno = syncResult;
    return -1;
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int rename(const char *from, const char *to) noexcept {
    calls.push_back("rename");
    dieIn("rename");
    if (!cleaning.empty())
        ferrolt::removeAbandonedReplacements(cleaning);
    return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int fchmod(int descriptor, mode_t mode) noexcept {
    if (modeResult == 0)
        return static_cast<int>(syscall(SYS_fchmod, descriptor, mode));
    errno = modeResult;
    return -1;
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int flock(int descriptor, int operation) noexcept {
    for (const auto &entry : emptied.empty() ? std::filesystem::directory_iterator()
                                             : std::filesystem::directory_iterator(emptied)) {
        if (entry.path().filename().native().starts_with(".ferrolt-save-"))
            std::filesystem::remove(entry);
    }
    emptied.clear();
    if (locksToRefuse > 0) {
        --locksToRefuse;
        errno = lockError;
        return -1;
    }
    return static_cast<int>(syscall(SYS_flock, descriptor, operation));
}

namespace ferrolt {

namespace fs = std::filesystem;

class FileReplacementTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() {
        folder.emplace();
        calls.clear();
        modeResult = 0;
    }
    void cleanup() { folder.reset(); }

    void aNewFileGetsWhatTheMaskLeaves();
    void anOpenFileKeepsItsOldContents();
    void aHardLinkKeepsTheOldContents();
    void aChainOfLinksLeadsToTheFileThatIsReplaced();
    void aRelativeLinkInAFolderThatIsALinkLeadsFromWhereItStands();
    void aLinkToNowhereGetsItsTarget();
    void aLinkIntoAMissingFolderFails();
    void aCircleOfLinksFails();
    void aFolderOrPipeInPlaceOfTheFileFails();
    void aMissingFolderFails();
    void aFileInPlaceOfTheFolderFails();
    void aFolderThatOneMayNotWriteToFails();
    void theOwnerStaysWhenTheSystemLetsUs();
    void aNameOfTheGreatestLengthIsNoHindrance();
    void aFolderNameThatIsNotUtf8IsNoHindrance();
    void contentsMayBeEmptyOrLarge();
    void theContentsAreOnDiskBeforeTheyTakeTheNameOfTheOld();
    void aDiskThatFailsToWriteThroughLeavesTheOldFile();
    void permissionsThatCannotBeKeptLeaveTheOldFile();
    void aFileSystemWithoutPermissionsIsNoHindrance();
    void whatAKilledProcessLeftIsRemoved_data();
    void whatAKilledProcessLeftIsRemoved();
    void whatARunningProcessWritesStays();
    void aNewFileThatAnotherTakesForAbandonedIsMadeAnew();
    void aFileSystemWithoutLocksIsNoHindrance();
    void whatIsNotAKilledProcessesStays();
    void anInterruptedWriteThroughIsDoneAgain();

  private:
    fs::path home() const { return QFile::encodeName(folder->path()).toStdString(); }
    fs::path path() const { return home() / "file"; }

    static void write(const fs::path &path, const QByteArray &bytes) {
        fs::create_directories(path.parent_path());
        QFile file(QFile::decodeName(path.c_str()));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    static QByteArray read(const fs::path &path) {
        QFile file(QFile::decodeName(path.c_str()));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
    }
    static QStringList contents(const fs::path &folder) {
        return QDir(QFile::decodeName(folder.c_str()))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

    std::optional<QTemporaryDir> folder;
};

void FileReplacementTest::aNewFileGetsWhatTheMaskLeaves() {
    const int code = inChild([&] {
        ::umask(027);
        return replaceFile(path(), "new") ? 0 : 1;
    });
    QCOMPARE(code, 0);
    QCOMPARE(static_cast<int>(fs::status(path()).permissions()), 0640);
    QCOMPARE(read(path()), QByteArray("new"));
}

void FileReplacementTest::anOpenFileKeepsItsOldContents() {
    write(path(), "old");
    QFile open(QFile::decodeName(path().c_str()));
    QVERIFY(open.open(QIODevice::ReadOnly));
    QVERIFY(replaceFile(path(), "new"));
    QCOMPARE(open.readAll(), QByteArray("old"));
    QCOMPARE(read(path()), QByteArray("new"));
}

void FileReplacementTest::aHardLinkKeepsTheOldContents() {
    write(path(), "old");
    fs::create_hard_link(path(), home() / "second");
    QVERIFY(replaceFile(path(), "new"));
    QCOMPARE(read(home() / "second"), QByteArray("old"));
}

void FileReplacementTest::aChainOfLinksLeadsToTheFileThatIsReplaced() {
    write(home() / "deep/er/real", "old");
    fs::create_symlink("er/real", home() / "deep/relative");  // relative to the link's folder
    fs::create_symlink(home() / "deep/relative", home() / "absolute");
    fs::create_symlink("absolute", path());
    QVERIFY(replaceFile(path(), "new"));
    QCOMPARE(read(home() / "deep/er/real"), QByteArray("new"));
    QVERIFY(!fs::is_symlink(home() / "deep/er/real"));
    QVERIFY(fs::is_symlink(home() / "deep/relative"));
    QVERIFY(fs::is_symlink(home() / "absolute"));
    QVERIFY(fs::is_symlink(path()));
}

void FileReplacementTest::aRelativeLinkInAFolderThatIsALinkLeadsFromWhereItStands() {
    write(home() / "real/beside/target", "old");
    fs::create_directory(home() / "real/folder");
    fs::create_symlink("../beside/target", home() / "real/folder/link");
    fs::create_directory_symlink("real/folder", home() / "linked");
    QVERIFY(replaceFile(home() / "linked/link", "new"));
    QCOMPARE(read(home() / "real/beside/target"), QByteArray("new"));
    QVERIFY(fs::is_symlink(home() / "real/folder/link"));
}

void FileReplacementTest::aLinkToNowhereGetsItsTarget() {
    fs::create_directory(home() / "folder");
    fs::create_symlink("second", path());
    fs::create_symlink("folder/target", home() / "second");
    QVERIFY(replaceFile(path(), "new"));
    QVERIFY(fs::is_symlink(path()));
    QVERIFY(fs::is_symlink(home() / "second"));
    QCOMPARE(read(home() / "folder/target"), QByteArray("new"));
}

void FileReplacementTest::aLinkIntoAMissingFolderFails() {
    fs::create_symlink("no folder/target", path());
    QVERIFY(!replaceFile(path(), "new"));
    QCOMPARE(errno, ENOENT);
    QVERIFY(fs::is_symlink(path()));
    QVERIFY(!fs::exists(home() / "no folder"));
}

void FileReplacementTest::aCircleOfLinksFails() {
    fs::create_symlink("second", path());
    fs::create_symlink("file", home() / "second");
    std::error_code reason;
    QVERIFY(!replaceFile(path(), "new", reason));
    QVERIFY(reason == std::errc::too_many_symbolic_link_levels);
    QCOMPARE(contents(home()), (QStringList{QStringLiteral("file"), QStringLiteral("second")}));
}

void FileReplacementTest::aFolderOrPipeInPlaceOfTheFileFails() {
    fs::create_directory(path());
    std::error_code reason;
    QVERIFY(!replaceFile(path(), "new", reason));
    QVERIFY(reason == std::errc::is_a_directory);
    QVERIFY(fs::is_directory(path()));
    const fs::path pipe = home() / "pipe";
    QCOMPARE(::mkfifo(pipe.c_str(), 0600), 0);
    QVERIFY(!replaceFile(pipe, "new", reason));
    QVERIFY(reason == std::errc::not_supported);
    QVERIFY(fs::is_fifo(pipe));
    QCOMPARE(contents(home()), (QStringList{QStringLiteral("file"), QStringLiteral("pipe")}));
}

void FileReplacementTest::aMissingFolderFails() {
    std::error_code reason;
    QVERIFY(!replaceFile(home() / "no folder/file", "new", reason));
    QVERIFY(reason == std::errc::no_such_file_or_directory);
    QVERIFY(!fs::exists(home() / "no folder"));
}

void FileReplacementTest::aFileInPlaceOfTheFolderFails() {
    write(path(), "old");
    std::error_code reason;
    QVERIFY(!replaceFile(path() / "file", "new", reason));
    QVERIFY(reason == std::errc::not_a_directory);
    QCOMPARE(read(path()), QByteArray("old"));
}

void FileReplacementTest::aFolderThatOneMayNotWriteToFails() {
    const fs::path locked = home() / "locked";
    fs::create_directory(locked);
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
    const int code = inChild([&] {
        std::error_code reason;
        return obeyPermissions() && !replaceFile(locked / "file", "new", reason) ? reason.value() : 0;
    });
    fs::permissions(locked, fs::perms::owner_all);
    QCOMPARE(code, EACCES);
}

void FileReplacementTest::theOwnerStaysWhenTheSystemLetsUs() {
    if (::geteuid() != 0)
        QSKIP("Only root may give a file away.");
    write(path(), "old");
    fs::permissions(path(), static_cast<fs::perms>(0640));
    QCOMPARE(::chown(path().c_str(), nobody, nobody), 0);
    QVERIFY(replaceFile(path(), "new"));
    struct stat status {};
    QCOMPARE(::stat(path().c_str(), &status), 0);
    QCOMPARE(status.st_uid, uid_t{nobody});
    QCOMPARE(status.st_gid, gid_t{nobody});
    QCOMPARE(status.st_mode & 07777, mode_t{0640});
}

void FileReplacementTest::aNameOfTheGreatestLengthIsNoHindrance() {
    const fs::path longest = home() / std::string(255, 'n');
    write(longest, "old");
    QVERIFY(replaceFile(longest, "new"));
    QCOMPARE(read(longest), QByteArray("new"));
}

void FileReplacementTest::aFolderNameThatIsNotUtf8IsNoHindrance() {
    const fs::path own = home() / "M\xFCller";
    std::error_code failure;
    fs::create_directory(own, failure);
    if (failure)
        QSKIP("This file system takes names in UTF-8 only.");
    QVERIFY(replaceFile(own / "file", "new"));
    QCOMPARE(fs::file_size(own / "file"), std::uintmax_t{3});
    fs::remove_all(own);  // Qt cannot name it, so the temporary folder could not remove it
}

void FileReplacementTest::contentsMayBeEmptyOrLarge() {
    QVERIFY(replaceFile(path(), ""));
    QCOMPARE(fs::file_size(path()), std::uintmax_t{0});
    const std::string large(8'000'000, 'x');
    QVERIFY(replaceFile(path(), large));
    QVERIFY(read(path()) == QByteArray::fromStdString(large));
}

/// Otherwise the name could lead to an empty file after a power cut.
void FileReplacementTest::theContentsAreOnDiskBeforeTheyTakeTheNameOfTheOld() {
    QVERIFY(replaceFile(path(), "12345"));
    QCOMPARE(calls, (std::vector<std::string>{"fsync of 5 bytes", "rename"}));
}

void FileReplacementTest::aDiskThatFailsToWriteThroughLeavesTheOldFile() {
    write(path(), "old");
    const auto result = [&](int error) {
        syncResult = error;
        std::error_code reason;
        const bool isReplaced = replaceFile(path(), "new", reason);
        syncResult = 0;
        return isReplaced ? 0 : reason.value();
    };
    QCOMPARE(result(EIO), EIO);
    QCOMPARE(result(ENOSPC), ENOSPC);
    QCOMPARE(read(path()), QByteArray("old"));
    QCOMPARE(contents(home()), QStringList{QStringLiteral("file")});
    for (const int unsupported : {EINVAL, ENOSYS, ENOTSUP}) {  // a file system without fsync()
        write(path(), "old");
        QCOMPARE(result(unsupported), 0);
        QCOMPARE(read(path()), QByteArray("new"));
    }
}

void FileReplacementTest::anInterruptedWriteThroughIsDoneAgain() {
    syncsToInterrupt = 2;
    QVERIFY(replaceFile(path(), "12345"));
    QCOMPARE(syncsToInterrupt, 0);
    QCOMPARE(calls, (std::vector<std::string>{"fsync of 5 bytes", "fsync of 5 bytes", "fsync of 5 bytes",
                                              "rename"}));
}

void FileReplacementTest::permissionsThatCannotBeKeptLeaveTheOldFile() {
    write(path(), "old");
    modeResult = EIO;
    std::error_code reason;
    QVERIFY(!replaceFile(path(), "new", reason));
    QCOMPARE(reason.value(), EIO);
    QCOMPARE(read(path()), QByteArray("old"));
    QCOMPARE(contents(home()), QStringList{QStringLiteral("file")});
}

void FileReplacementTest::aFileSystemWithoutPermissionsIsNoHindrance() {
    for (const int error : {EPERM, ENOTSUP, ENOSYS, EINVAL}) {
        write(path(), "old");
        modeResult = error;
        QVERIFY(replaceFile(path(), "new"));
        QCOMPARE(read(path()), QByteArray("new"));
        fs::remove(path());
    }
}

void FileReplacementTest::whatAKilledProcessLeftIsRemoved_data() {
    QTest::addColumn<QString>("call");
    QTest::newRow("before it is on disk") << "fsync";
    QTest::newRow("before it has the name") << "rename";
}
void FileReplacementTest::whatAKilledProcessLeftIsRemoved() {
    QFETCH(QString, call);
    write(path(), "old");
    const int code = inChild([&] {
        dyingCall = call.toStdString();
        return replaceFile(path(), "new") ? 0 : 1;
    });
    QCOMPARE(code, -SIGKILL);
    QCOMPARE(read(path()), QByteArray("old"));
    QCOMPARE(contents(home()).size(), 2);
    QVERIFY(replaceFile(home() / "another", "new"));
    QCOMPARE(contents(home()), (QStringList{"another", "file"}));
}

void FileReplacementTest::whatARunningProcessWritesStays() {
    const int code = inChild([&] {
        cleaning = home();
        return replaceFile(path(), "new") ? 0 : 1;
    });
    QCOMPARE(code, 0);
    QCOMPARE(read(path()), QByteArray("new"));
}

void FileReplacementTest::aNewFileThatAnotherTakesForAbandonedIsMadeAnew() {
    lockError = EWOULDBLOCK;
    locksToRefuse = 2;
    QVERIFY(replaceFile(path(), "new"));
    QCOMPARE(locksToRefuse, 0);
    QCOMPARE(read(path()), QByteArray("new"));
    emptied = home();
    QVERIFY(replaceFile(path(), "newer"));
    QCOMPARE(read(path()), QByteArray("newer"));
    QCOMPARE(contents(home()), QStringList{QStringLiteral("file")});
}

void FileReplacementTest::aFileSystemWithoutLocksIsNoHindrance() {
    lockError = ENOLCK;
    locksToRefuse = 1;
    QVERIFY(replaceFile(path(), "new"));
    QCOMPARE(locksToRefuse, 0);
    QCOMPARE(read(path()), QByteArray("new"));
}

void FileReplacementTest::whatIsNotAKilledProcessesStays() {
    const fs::path inUse = home() / ".ferrolt-save-in-use";
    write(inUse, "by another process");
    const FileDescriptor lock(open(inUse.c_str(), O_RDONLY | O_CLOEXEC));
    QCOMPARE(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
    fs::create_symlink(inUse, home() / ".ferrolt-save-link");
    QCOMPARE(::mkfifo((home() / ".ferrolt-save-pipe").c_str(), 0600), 0);
    fs::create_directory(home() / ".ferrolt-save-folder");
    write(home() / "ferrolt-save-1", "another's");
    const QStringList before = contents(home());
    QVERIFY(replaceFile(path(), "new"));
    QCOMPARE(contents(home()), before + QStringList{QStringLiteral("file")});
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::FileReplacementTest, QCoreApplication)
#include "FileReplacementTest.moc"
