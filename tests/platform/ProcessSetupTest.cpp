#include "InChild.h"
#include "ProcessSetup.h"
#include "TestProgram.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ferrolt;

/// Each case in a process of its own.
class ProcessSetupTest : public QObject {
    Q_OBJECT

    static bool isNull(int descriptor) {
        struct stat opened {};
        struct stat null {};
        return fstat(descriptor, &opened) == 0 && stat("/dev/null", &null) == 0 &&
               opened.st_rdev == null.st_rdev && S_ISCHR(opened.st_mode);
    }

  private Q_SLOTS:
    void closedStandardDescriptorsAreOpenedOnDevNull() {
        for (const unsigned closed : {0U, 1U, 2U, 4U, 5U, 7U}) {  // a bit for each
            QTemporaryDir folder;
            const std::string file = folder.filePath(QStringLiteral("file")).toStdString();
            const int code = inChild([&] {
                const int other = open(file.c_str(), O_RDWR | O_CREAT, 0600);
                for (int descriptor = 0; descriptor <= 2; ++descriptor) {
                    if ((closed >> descriptor & 1U) != 0)
                        close(descriptor);
                    else
                        dup2(other, descriptor);
                }
                setUpProcess();
                for (int descriptor = 0; descriptor <= 2; ++descriptor)
                    if (isNull(descriptor) != ((closed >> descriptor & 1U) != 0))
                        return 1 + descriptor;
                return open(file.c_str(), O_RDONLY) > 2 ? 0 : 10;
            });
            QCOMPARE(code, 0);
        }
    }

    void aFileBeyondTheSizeLimitIsAFailedWriteAndEndsNothing() {
        QTemporaryDir folder;
        const std::string file = folder.filePath(QStringLiteral("file")).toStdString();
        const int code = inChild([&] {
            std::signal(SIGXFSZ, SIG_DFL);
            setUpProcess();
            const rlimit limit{4, 4};
            setrlimit(RLIMIT_FSIZE, &limit);
            const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT, 0600);
            if (write(descriptor, "12345", 5) != 4)
                return 1;
            return write(descriptor, "5", 1) < 0 && errno == EFBIG ? 0 : 2;
        });
        QCOMPARE(code, 0);
    }

    void aPipeWithoutAReaderIsAFailedWriteAndEndsNothing() {
        const int code = inChild([] {
            std::signal(SIGPIPE, SIG_DFL);
            setUpProcess();
            int ends[2];
            if (pipe(ends) != 0 || close(ends[0]) != 0)
                return 1;
            return write(ends[1], "x", 1) < 0 && errno == EPIPE ? 0 : 2;
        });
        QCOMPARE(code, 0);
    }

    void withoutAHomeTheUsersEntryCounts_data() {
        QTest::addColumn<QByteArray>("home");
        QTest::newRow("unset") << QByteArray();
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("relative") << QByteArray("home");
    }
    void withoutAHomeTheUsersEntryCounts() {
        QFETCH(QByteArray, home);
        const passwd *user = getpwuid(getuid());
        const QString expected = QString::fromLocal8Bit(user != nullptr ? user->pw_dir : "/nonexistent");
        QVERIFY(expected != QStringLiteral("/"));
        const int code = inChild([&] {
            if (home.isNull())
                unsetenv("HOME");
            else
                setenv("HOME", home.constData(), 1);
            setUpProcess();
            return qEnvironmentVariable("HOME") == expected && QDir::homePath() == expected ? 0 : 1;
        });
        QCOMPARE(code, 0);
    }

    void aUserWithoutAnEntryHasNoHomeAndNotTheRoot() {
        if (geteuid() != 0)
            QSKIP("Only root can become a user without an entry.");
        const int code = inChild([] {
            if (setuid(54'321) != 0 || getpwuid(54'321) != nullptr)
                return 1;
            unsetenv("HOME");
            setUpProcess();
            return qgetenv("HOME") == "/nonexistent" ? 0 : 2;
        });
        QCOMPARE(code, 0);
    }

    void aTemporaryFolderThatCannotBeUsedIsReplacedByTheSystems() {
        QTemporaryDir folder;
        const std::string good = folder.path().toStdString();
        const std::string file = good + "/file";
        QCOMPARE(close(open(file.c_str(), O_WRONLY | O_CREAT, 0600)), 0);
        const auto temporaryFolderFor = [](const std::string &value) {
            return inChild([&] {
                setenv("TMPDIR", value.c_str(), 1);
                setUpProcess();
                const QString used = QDir::tempPath();
                if (used == QDir(QString::fromStdString(value)).canonicalPath())
                    return 1;
                return QDir(used).exists() ? 2 : 3;
            });
        };
        QCOMPARE(temporaryFolderFor(good), 1);
        QCOMPARE(temporaryFolderFor(good + "/missing"), 2);
        QCOMPARE(temporaryFolderFor(file), 2);
        QCOMPARE(temporaryFolderFor(""), 2);
    }
};

TEST_CLASS(ProcessSetupTest, QCoreApplication)
#include "ProcessSetupTest.moc"
