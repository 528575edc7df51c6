#include "Background.h"
#include "FileReplacement.h"
#include "InChild.h"
#include "Listener.h"
#include "Pipe.h"
#include "PipeReader.h"
#include "PortProbe.h"
#include "Process.h"
#include "ProcessSetup.h"
#include "ProgramFile.h"
#include "RefusedCalls.h"
#include "RemoveTree.h"
#include "RunningProgram.h"
#include "SingleInstance.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

using namespace ferrolt;
namespace fs = std::filesystem;

/// What an old kernel, a sandbox or a machine at its limits refuses. Each case in a process of its own: the
/// first code that is not 0 tells which of its expectations failed.
class RefusedCallsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> scratch;
    fs::path folder;

    static std::string contents(const fs::path &file) {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// The status of a shell with this script; -1 when it could not be launched, and then errno.
    static int runScript(const std::string &script) {
        Process process;
        process.setExecutable("/bin/sh");
        process.setArguments({"-c", script});
        if (const auto failure = process.launch()) {
            errno = failure->code;
            return -1;
        }
        return process.waitUntilExit();
    }

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        folder = scratch->path().toStdString();
    }
    void cleanup() { scratch.reset(); }

    /// Kernels before 5.9.
    void withoutCloseRangeAChildGetsNoDescriptorOfTheLaunchersEither() {
        const int code = inChild([] {
            const int inherited = open("/dev/null", O_RDONLY);  // not close-on-exec
            const int distant = fcntl(inherited, F_DUPFD, 200);
            if (inherited < 3 || distant < 200 || !refuseCall(SYS_close_range, ENOSYS))
                return 1;
            return runScript("test ! -e /proc/self/fd/" + std::to_string(inherited) +
                             " && test ! -e /proc/self/fd/" + std::to_string(distant)) == 0
                       ? 0
                       : 2;
        });
        QCOMPARE(code, 0);
    }

    void aChildWithoutStandardDescriptorsIsNotStarted() {
        for (const unsigned descriptor : {0U, 1U, 2U}) {
            const int code = inChild([&] {
                if (!refuseCalls({SYS_dup2, SYS_dup3}, EBUSY, CallArgument{1, descriptor}))
                    return 1;
                const int status = runScript("exit 0");
                return status == -1 && errno == EBUSY && waitpid(-1, nullptr, WNOHANG) == -1 ? 0 : 2;
            });
            QCOMPARE(code, 0);
        }
    }

    /// Without a status a child must not look as if it had succeeded.
    void aChildWhoseStatusTheKernelThrewAwayHasFailed() {
        const int code = inChild([&] {
            Process process;
            process.setExecutable("/bin/sh");
            const std::string pipe = (folder / "pipe").string();
            if (mkfifo(pipe.c_str(), 0600) != 0)
                return 1;
            process.setArguments({"-c", "read line <" + pipe + "; exit 0"});
            if (process.launch())
                return 2;
            std::signal(SIGCHLD, SIG_IGN);
            std::ofstream(pipe) << "end\n";
            return process.waitUntilExit() == 1 ? 0 : 3;
        });
        QCOMPARE(code, 0);
    }

    void childrenThatTheStarterOfTheLauncherHadReapedKeepTheirStatus() {
        const int code = inChild([] {
            struct sigaction action {};
            action.sa_handler = SIG_DFL;
            action.sa_flags = SA_NOCLDWAIT;
            sigaction(SIGCHLD, &action, nullptr);
            return runScript("exit 7") == 7 ? 0 : 1;
        });
        QCOMPARE(code, 0);
    }

    void aReaderWithoutAPipeToWakeItIsNotPrepared() {
        const int code = inChild([] {
            Pipe pipe = Pipe::open();
            if (!refuseCall(SYS_pipe2, EMFILE, CallArgument{1, O_CLOEXEC}))  // a sanitizer opens others
                return 1;
            if (Pipe::open().readingEnd.isValid())
                return 2;
            return PipeReader::prepare(std::move(pipe.readingEnd), [](auto) {}) == nullptr ? 0 : 3;
        });
        QCOMPARE(code, 0);
    }

    void aPipeThatCannotBeReadEndsItsReader_data() {
        QTest::addColumn<int>("error");
        QTest::newRow("broken") << EIO;
        QTest::newRow("interrupted for ever") << EINTR;
    }
    void aPipeThatCannotBeReadEndsItsReader() {
        QFETCH(int, error);
        const int code = inChild([&] {
            Pipe pipe = Pipe::open();
            const int descriptor = pipe.readingEnd.get();
            if (write(pipe.writingEnd.get(), "text", 4) != 4)
                return 1;
            bool isTaken = false;
            const auto reader =
                PipeReader::prepare(std::move(pipe.readingEnd), [&](auto) { isTaken = true; });
            if (!refuseCall(SYS_read, error, CallArgument{0, static_cast<unsigned>(descriptor)}) ||
                reader->begin() != 0)
                return 2;
            reader->childHasEnded();
            return isTaken ? 3 : 0;
        });
        QCOMPARE(code, 0);
    }

    /// The child's last words are lost then, the report of its end is not.
    void aPipeWhoseBytesCannotBeCountedEndsItsReader() {
        const int code = inChild([] {
            Pipe pipe = Pipe::open();
            const auto reader = PipeReader::prepare(std::move(pipe.readingEnd), [](auto) {});
            if (!refuseCall(SYS_ioctl, ENOTTY, CallArgument{1, FIONREAD}) || reader->begin() != 0)
                return 1;
            reader->childHasEnded();
            return 0;
        });
        QCOMPARE(code, 0);
    }

    void aPortIsNotProbedWithoutASocket() {
        const Listener listener;
        const int code = inChild([&] {
            if (!refuseCall(SYS_socket, EMFILE))
                return 1;
            return inBackground([&] { return probePort("127.0.0.1", listener.port); }) ? 2 : 0;
        });
        QCOMPARE(code, 0);
    }

    void afterAHundredNamesThatAreTakenAFileIsNotReplaced() {
        std::ofstream(folder / "file") << "old";
        const int code = inChild([&] {
            if (!refuseCall(SYS_openat, EEXIST))
                return 1;
            std::error_code reason;
            return !replaceFile(folder / "file", "new", reason) && reason == std::errc::file_exists ? 0 : 2;
        });
        QCOMPARE(code, 0);
        QCOMPARE(contents(folder / "file"), std::string("old"));
    }

    void aFileThatCannotTakeTheOldOnesPlaceIsRemoved() {
        std::ofstream(folder / "file") << "old";
        const int code = inChild([&] {
            if (!refuseCalls({SYS_rename, SYS_renameat, SYS_renameat2}, EIO))
                return 1;
            std::error_code reason;
            return !replaceFile(folder / "file", "new", reason) && reason == std::errc::io_error ? 0 : 2;
        });
        QCOMPARE(code, 0);
        QCOMPARE(contents(folder / "file"), std::string("old"));
        QCOMPARE(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), std::ptrdiff_t(1));
    }

    void theGroupStaysWhereTheOwnerCannot_data() {
        QTest::addColumn<bool>("isGroupRefused");
        QTest::newRow("group kept") << false;
        QTest::newRow("neither kept") << true;
    }
    void theGroupStaysWhereTheOwnerCannot() {
        if (geteuid() != 0)
            QSKIP("Only root may give a file away.");
        QFETCH(bool, isGroupRefused);
        const fs::path file = folder / "file";
        std::ofstream(file) << "old";
        fs::permissions(file, static_cast<fs::perms>(0640));
        QCOMPARE(chown(file.c_str(), 0, nobody), 0);  // the group alone differs from a new file's
        const int code = inChild([&] {
            if (!refuseCall(SYS_fchown, EPERM, CallArgument{1, 0}) ||
                (isGroupRefused && !refuseCall(SYS_fchown, EPERM)))
                return 1;
            return replaceFile(file, "new") ? 0 : 2;
        });
        QCOMPARE(code, 0);
        struct stat status {};
        QCOMPARE(stat(file.c_str(), &status), 0);
        QCOMPARE(status.st_gid, isGroupRefused ? gid_t{0} : gid_t{nobody});
        QCOMPARE(status.st_mode & 07777, mode_t{0640});
        QCOMPARE(contents(file), std::string("new"));
    }

    void aFolderThatCannotBeListedIsNotEmptiedAndStopsNothing() {
        fs::create_directories(folder / "tree/inner");
        std::ofstream(folder / "tree/inner/file") << "x";
        const int code = inChild([&] {
            if (!refuseCall(SYS_getdents64, EIO))
                return 1;
            removeTree(folder / "tree");
            return fs::exists(folder / "tree/inner/file") ? 0 : 2;
        });
        QCOMPARE(code, 0);
    }

    void withoutADescriptorForTheListingAFolderStays() {
        fs::create_directories(folder / "tree/inner");
        const int code = inChild([&] {
            // The listing's descriptor is the second one that is opened.
            const int next = open("/dev/null", O_RDONLY);
            if (!refuseCall(SYS_openat, EMFILE, CallArgument{0, static_cast<unsigned>(next)}))
                return 1;
            close(next);
            removeTree(folder / "tree");
            return fs::exists(folder / "tree/inner") ? 0 : 2;
        });
        QCOMPARE(code, 0);
    }

    void aFolderThatOnlyItsOwnerCouldOpenStaysIfItsModeCannotBeSet() {
        fs::create_directories(folder / "tree/locked/inner");
        fs::permissions(folder / "tree/locked", fs::perms::none);
        const int code = inChild([&] {
            if (!obeyPermissions() || !refuseCall(SYS_fchmodat, EPERM))
                return 1;
            removeTree(folder / "tree");
            return fs::exists(folder / "tree/locked") ? 0 : 2;
        });
        fs::permissions(folder / "tree/locked", fs::perms::owner_all);
        QCOMPARE(code, 0);
    }

    void aProgramWhoseFileIsUnknownIsNeverReplaced() {
        const int code = inChild([] {
            if (!refuseCalls({SYS_readlink, SYS_readlinkat}, EACCES))
                return 1;
            if (!runningProgram().empty())
                return 2;
            return ProgramFile().isReplaced() ? 3 : 0;
        });
        QCOMPARE(code, 0);
    }

    void standardDescriptorsThatCannotBeOpenedStopNoStart() {
        const int code = inChild([] {
            if (!refuseCall(SYS_openat, EMFILE))
                return 1;
            close(0);
            setUpProcess();
            return fcntl(0, F_GETFD) < 0 ? 0 : 2;
        });
        QCOMPARE(code, 0);
    }

    void aTemporaryFolderThatCannotBeWrittenIsReplacedByTheSystems() {
        fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
        const int code = inChild([&] {
            if (!obeyPermissions())
                return 1;
            setenv("TMPDIR", folder.c_str(), 1);
            setUpProcess();
            return getenv("TMPDIR") == nullptr ? 0 : 2;
        });
        fs::permissions(folder, fs::perms::owner_all);
        QCOMPARE(code, 0);
    }

    /// A start that can neither lock nor listen is the first: better two launchers than none.
    void withoutALockOrASocketEveryStartIsTheFirst_data() {
        QTest::addColumn<int>("call");
        QTest::addColumn<int>("error");
        QTest::newRow("no sockets") << static_cast<int>(SYS_socket) << EACCES;
        QTest::newRow("no names for sockets") << static_cast<int>(SYS_bind) << EPERM;
        QTest::newRow("no listening") << static_cast<int>(SYS_listen) << EPERM;
        QTest::newRow("no locks") << static_cast<int>(SYS_flock) << ENOLCK;
    }
    void withoutALockOrASocketEveryStartIsTheFirst() {
        QFETCH(int, call);
        QFETCH(int, error);
        const int code = inChild([&] {
            setenv("XDG_RUNTIME_DIR", (folder / "runtime").c_str(), 1);
            if (!refuseCall(call, error))
                return 1;
            SingleInstance first(folder);
            first.listen([](const std::string &) {});
            first.rememberChild(getppid());
            SingleInstance second(folder);
            return first.start() == SingleInstance::Start::First &&
                           second.start() == SingleInstance::Start::First
                       ? 0
                       : 2;
        });
        QCOMPARE(code, 0);
    }

    void aFolderThatStaysOpenToOthersIsNotUsed() {
        const fs::path open = folder / ".local/state/ferrolt-miner-launcher";
        fs::create_directories(open);
        fs::permissions(open, static_cast<fs::perms>(0755));
        const int code = inChild([&] {
            setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
            if (!refuseCall(SYS_fchmod, EPERM))
                return 1;
            const SingleInstance first(folder);
            SingleInstance second(folder);
            return first.start() == SingleInstance::Start::First &&
                           second.start() == SingleInstance::Start::HandedOver
                       ? 0
                       : 2;
        });
        QCOMPARE(code, 0);
        QVERIFY(fs::is_empty(open));
    }

    void withoutARuntimeFolderTheSystemsTemporaryOneIsUsed_data() {
        QTest::addColumn<QByteArray>("runtime");
        QTest::newRow("unset") << QByteArray();
        QTest::newRow("relative") << QByteArray("runtime");
    }
    void withoutARuntimeFolderTheSystemsTemporaryOneIsUsed() {
        QFETCH(QByteArray, runtime);
        std::ofstream(folder / ".local") << "no folder";
        const int code = inChild([&] {
            if (runtime.isNull())
                unsetenv("XDG_RUNTIME_DIR");
            else
                setenv("XDG_RUNTIME_DIR", runtime.constData(), 1);
            const fs::path expected = "/tmp/ferrolt-miner-launcher-" + std::to_string(getuid()) + '-' +
                                      std::to_string(std::hash<std::string>()(folder.native()));
            const SingleInstance first(folder);
            const bool isThere = fs::exists(expected / "instance.lock");
            fs::remove_all(expected);
            return first.start() == SingleInstance::Start::First && isThere ? 0 : 1;
        });
        QCOMPARE(code, 0);
    }

    /// The next start waits for no child then.
    void childrenThatCannotBeNotedDownStopNothing() {
        for (const long call : {SYS_pwrite64, SYS_ftruncate}) {
            const int code = inChild([&] {
                SingleInstance first(folder);
                if (!refuseCall(call, ENOSPC))
                    return 1;
                first.rememberChild(getppid());
                return first.start() == SingleInstance::Start::First ? 0 : 2;
            });
            QCOMPARE(code, 0);
        }
    }
};

TEST_CLASS(RefusedCallsTest, QCoreApplication)
#include "RefusedCallsTest.moc"
