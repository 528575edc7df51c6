#include "FileDescriptor.h"
#include "StagingFolder.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <functional>
#include <optional>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

/// Called just before flock(), for races that a test could not hit otherwise. Returns 0, or the errno with
/// which flock() is to fail.
std::function<int()> atTheNextLock;

/// The answer of geteuid(), if set: an ordinary user cannot create a folder that belongs to another user.
std::optional<uid_t> pretendedUser;

}  // namespace

/// Replaces the C library's function.
extern "C" uid_t geteuid() noexcept {
    static const auto system = reinterpret_cast<uid_t (*)()>(dlsym(RTLD_NEXT, "geteuid"));
    return pretendedUser ? *pretendedUser : system();
}

/// Replaces the C library's function.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int flock(int file, int operation) noexcept {
    static const auto system = reinterpret_cast<int (*)(int, int)>(dlsym(RTLD_NEXT, "flock"));
    const auto act = atTheNextLock;  // which may replace itself
    if (const int error = act ? act() : 0; error != 0) {
        errno = error;
        return -1;
    }
    return system(file, operation);
}

class StagingFolderTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> scratch;
    fs::path temporary;
    std::error_code failure;

    std::vector<std::string> left() const {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(temporary))
            names.push_back(entry.path().filename().string());
        return names;
    }

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        temporary = scratch->path().toStdString();
        failure.clear();
        atTheNextLock = nullptr;
    }

    void inAFolderThatTakesNoneNoneIsCreated() {
        QVERIFY(!StagingFolder::create("/proc", failure));  // it is there, and takes none from root either
        QVERIFY(failure);
    }

    void itsNameEndsInAnUpperCaseUuidAndItIsTheUsersAlone() {
        const auto staging = StagingFolder::create(temporary, failure);
        QVERIFY(staging.has_value());
        const QString name = QString::fromStdString(staging->path().filename().string());
        const QRegularExpression expected(
            QStringLiteral("^ferrolt-libreoffice-[0-9A-F]{8}-([0-9A-F]{4}-){3}[0-9A-F]{12}$"));
        QVERIFY2(expected.match(name).hasMatch(), qPrintable(name));
        QCOMPARE(staging->path().parent_path(), temporary);
        struct stat status {};
        QCOMPARE(stat(staging->path().c_str(), &status), 0);
        QCOMPARE(status.st_mode & 07777U, 0700U);
        QCOMPARE(staging->image(), staging->path() / "LibreOffice.dmg");
        QCOMPARE(staging->mountPoint(), staging->path() / "mnt");
        QCOMPARE(staging->applicationInImage(), staging->path() / "mnt/LibreOffice.app");
        const auto another = StagingFolder::create(temporary, failure);
        QVERIFY(another->path() != staging->path());
    }

    void itGoesWithItsObjectAndAllThatIsInIt() {
        {
            const auto staging = StagingFolder::create(temporary, failure);
            fs::create_directories(staging->applicationInImage() / "Contents");
            writeFile(staging->image(), "image");
        }
        QVERIFY(left().empty());
    }

    void foldersOnTheWayAreMade() {
        const auto staging = StagingFolder::create(temporary / "not/yet/there", failure);
        QVERIFY(staging.has_value());
        QVERIFY(fs::is_directory(staging->path()));
    }

    void aTemporaryFolderThatIsAFileGivesTheSystemsReason() {
        writeFile(temporary / "file", "x");
        QVERIFY(!StagingFolder::create(temporary / "file", failure).has_value());
        QCOMPARE(failure.message(), std::generic_category().message(ENOTDIR));
    }

    void whatAnEarlierRunLeftIsFoundAndGoes() {
        // A killed run: a process that ends without running destructors.
        const pid_t child = fork();
        if (child == 0) {
            const auto staging = StagingFolder::create(temporary, failure);
            fs::create_directories(staging->applicationInImage());
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        QCOMPARE(left().size(), std::size_t{1});
        {
            const auto abandoned = StagingFolder::abandoned(temporary);
            QCOMPARE(abandoned.size(), std::size_t{1});
            QVERIFY(fs::exists(abandoned.front().applicationInImage()));
        }
        QVERIFY(left().empty());
    }

    void aFolderThatIsInUseIsNotTakenForAbandoned() {
        const auto staging = StagingFolder::create(temporary, failure);
        QVERIFY(StagingFolder::abandoned(temporary).empty());
        QVERIFY(fs::exists(staging->path()));
    }

    void aFolderThatARunThatSweepsHasTakenForAbandonedIsGivenUpForAnother_data() {
        QTest::addColumn<bool>("isGone");
        QTest::newRow("it is about to remove it") << false;
        QTest::newRow("it has removed it") << true;
    }
    void aFolderThatARunThatSweepsHasTakenForAbandonedIsGivenUpForAnother() {
        QFETCH(bool, isGone);
        fs::path taken;
        FileDescriptor lock;
        atTheNextLock = [&] {
            atTheNextLock = nullptr;
            taken = temporary / left().front();
            lock = FileDescriptor(open(taken.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            flock(lock.get(), LOCK_EX | LOCK_NB);
            if (isGone) {
                fs::remove(taken);
                lock = {};
            }
            return 0;
        };
        const auto staging = StagingFolder::create(temporary, failure);
        QVERIFY(staging.has_value());
        QVERIFY(staging->path() != taken);
        QVERIFY(fs::is_directory(staging->path()));
        QCOMPARE(left().size(), std::size_t{1});
        QVERIFY(StagingFolder::abandoned(temporary).empty());  // it is locked
    }

    void aFolderThatIsTakenEveryTimeIsAFailureInTheEnd() {
        atTheNextLock = [] { return EWOULDBLOCK; };
        QVERIFY(!StagingFolder::create(temporary, failure).has_value());
        QVERIFY(failure == std::errc::resource_unavailable_try_again);
        QVERIFY(left().empty());
    }

    void aFileSystemWithoutLocksHasToDoWithout() {
        atTheNextLock = [] { return ENOLCK; };
        const auto staging = StagingFolder::create(temporary, failure);
        QVERIFY(staging.has_value());
        QVERIFY(fs::is_directory(staging->path()));
    }

    void anotherUsersFolderIsNotTakenForAbandoned() {
        fs::create_directory(temporary / "ferrolt-libreoffice-0F8FAD5B-D9CB-469F-A165-70867728950E");
        pretendedUser = geteuid() + 1;
        const bool isLeftAlone = StagingFolder::abandoned(temporary).empty();
        pretendedUser.reset();
        QVERIFY(isLeftAlone);
        QCOMPARE(left().size(), std::size_t{1});
        QCOMPARE(StagingFolder::abandoned(temporary).size(), std::size_t{1});
    }

    void nothingElseInTheTemporaryFolderIsTouched() {
        const std::string uuid = "ferrolt-libreoffice-0F8FAD5B-D9CB-469F-A165-70867728950E";
        fs::create_directory(temporary / "ferrolt-libreoffice-");
        fs::create_directory(temporary / "ferrolt-libreoffice-mine");
        fs::create_directory(temporary / "ferrolt-libreoffice-0f8fad5b-d9cb-469f-a165-70867728950e");
        fs::create_directory(temporary / (uuid + "x"));
        fs::create_directory(temporary / ("x" + uuid));
        fs::create_directory(temporary / "elsewhere");
        fs::create_directory_symlink(temporary / "elsewhere", temporary / uuid);
        writeFile(temporary / "ferrolt-libreoffice-1F8FAD5B-D9CB-469F-A165-70867728950E", "a file");
        const auto before = treeSnapshot(temporary);
        QVERIFY(StagingFolder::abandoned(temporary).empty());
        QCOMPARE(treeDifference(treeSnapshot(temporary), before), QByteArray());
        QVERIFY(StagingFolder::abandoned(temporary / "missing").empty());
    }
};

TEST_CLASS(StagingFolderTest, QCoreApplication)
#include "StagingFolderTest.moc"
