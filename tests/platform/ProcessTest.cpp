#include "InChild.h"
#include "Pipe.h"
#include "PipeReader.h"
#include "Process.h"
#include "ProcessFacts.h"
#include "TestProgram.h"
#include "TestTree.h"
#include "Waiting.h"

#include <QTest>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

/// A practice child and its collected output, connected as the supervisor does.
struct Child {
    explicit Child(std::vector<std::string> words, const fs::path &executable = FERROLT_PRACTICE_CHILD) {
        process.setExecutable(executable);
        process.setArguments(std::move(words));
        process.setWorkingFolder("/");
    }

    std::optional<LaunchError> launch() {
        Pipe pipe = Pipe::open();
        process.setOutput(std::move(pipe.writingEnd));
        reader = PipeReader::prepare(
            std::move(pipe.readingEnd), [facts = facts](std::span<const std::byte> bytes) {
                std::lock_guard lock(facts->mutex);
                facts->output.append(reinterpret_cast<const char *>(bytes.data()), bytes.size());
            });
        process.setStartHook([reader = reader] { return reader->begin(); });
        process.setExitHook([reader = reader] { reader->childHasEnded(); });
        process.setTerminationHandler([facts = facts](Process::Status status) {
            std::lock_guard lock(facts->mutex);
            facts->reports.push_back(status);
            facts->outputAtReport = facts->output;
        });
        return process.launch();
    }

    std::string output() const {
        std::lock_guard lock(facts->mutex);
        return facts->output;
    }
    std::vector<Process::Status> reports() const {
        std::lock_guard lock(facts->mutex);
        return facts->reports;
    }
    bool waitForOutput(const std::string &text) const {
        return waitWithoutEvents([&] { return output().find(text) != std::string::npos; });
    }

    struct Facts {
        std::mutex mutex;
        std::string output;
        std::string outputAtReport;
        std::vector<Process::Status> reports;
    };
    std::shared_ptr<Facts> facts = std::make_shared<Facts>();
    std::shared_ptr<PipeReader> reader;
    Process process;
};

/// The rest of the line that starts with "NAME=".
std::string factOf(const std::string &output, const std::string &name) {
    const auto at = output.find('\n' + name + '=');
    if (at == std::string::npos)
        return "(no such fact)";
    const auto begin = at + name.size() + 2;
    return output.substr(begin, output.find('\n', begin) - begin);
}

std::string ownPath;

/// A second launcher with a child, for killing.
int runAsLauncher(const char *word) {
    Child child({word});
    if (child.launch() || !child.waitForOutput("ready"))
        return 1;
    const std::string line = std::to_string(child.process.processIdentifier()) + '\n';
    [[maybe_unused]] const auto written = ::write(STDOUT_FILENO, line.data(), line.size());
    for (;;)
        pause();
}

}  // namespace

class ProcessTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() {
        std::signal(SIGPIPE, SIG_IGN);
        descriptors = openDescriptors();
    }

    /// No test may leave a thread, a descriptor or a child behind.
    void cleanup() {
        QVERIFY(waitWithoutEvents(
            [&] { return threadsNamed("child-") == 0 && openDescriptors() == descriptors; }));
        QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1);  // not even a zombie
        QCOMPARE(errno, ECHILD);
    }

    void theExitCodeIsReportedOnce() {
        Child child({"exit", "3"});
        QVERIFY(!child.launch());
        QCOMPARE(child.process.waitUntilExit(), 3);
        QCOMPARE(child.reports(), std::vector<Process::Status>{3});
        QVERIFY(!child.process.isRunning());
    }

    /// Else its end would never be the end of the pipe.
    void afterTheLaunchTheChildAloneHoldsItsOutput() {
        Pipe pipe = Pipe::open();
        Process process;
        process.setExecutable(FERROLT_PRACTICE_CHILD);
        process.setArguments({"exit", "0"});
        process.setWorkingFolder("/");
        process.setOutput(std::move(pipe.writingEnd));
        QVERIFY(!process.launch());
        QCOMPARE(process.waitUntilExit(), 0);
        pollfd end{pipe.readingEnd.get(), POLLIN, 0};
        QVERIFY(poll(&end, 1, 0) == 1 && (end.revents & POLLHUP) != 0);
    }

    void theNumberOfTheTerminatingSignalIsTheStatus() {
        Child child({"signal", "9"});
        QVERIFY(!child.launch());
        QCOMPARE(child.process.waitUntilExit(), 9);
        QCOMPARE(child.reports(), std::vector<Process::Status>{9});
    }

    void theTerminateRequestEndsAChildWithStatus15() {
        Child child({"wait"});
        QVERIFY(!child.launch());
        QVERIFY(child.waitForOutput("ready"));
        QVERIFY(child.process.isRunning());
        child.process.terminate();
        QCOMPARE(child.process.waitUntilExit(), SIGTERM);
        child.process.terminate();  // after the end: must signal no process
    }

    void aChildThatIgnoresTheTerminateRequestRunsOn() {
        Child child({"ignore-term"});
        QVERIFY(!child.launch());
        QVERIFY(child.waitForOutput("ready"));
        child.process.terminate();
        QVERIFY(child.process.isRunning());
        kill(child.process.processIdentifier(), SIGKILL);
        QCOMPARE(child.process.waitUntilExit(), SIGKILL);
    }

    void allOfTheOutputIsThereWhenTheEndIsReported() {
        for (int i = 0; i < 50; ++i) {
            Child child({"line-exit", "0", "last words"});
            QVERIFY(!child.launch());
            child.process.waitUntilExit();
            QVERIFY(child.facts->outputAtReport.find("last words") != std::string::npos);
        }
    }

    void aChildBeginsWithNothingButItsThreeDescriptorsAndDefaultSignals() {
        // The launcher may have open files, and blocked and ignored signals.
        const int file = open("/dev/null", O_RDONLY);  // without O_CLOEXEC on purpose
        const int high = fcntl(file, F_DUPFD, 200);
        // Every free number that a launch may use is beside an open one.
        std::vector<int> others;
        for (int number = 4; number < 64; number += 2)
            if (fcntl(number, F_GETFD) < 0)
                others.push_back(dup2(file, number));
        sigset_t blocked;
        sigset_t before;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        sigaddset(&blocked, SIGUSR1);
        pthread_sigmask(SIG_BLOCK, &blocked, &before);
        std::signal(SIGUSR2, SIG_IGN);
        std::signal(SIGHUP, [](int) {});
        qputenv("FERROLT_TEST_MARK", "inherited");
        Child child({"facts"});
        const auto failure = child.launch();
        sigset_t after;
        pthread_sigmask(SIG_SETMASK, &before, &after);
        std::signal(SIGUSR2, SIG_DFL);
        std::signal(SIGHUP, SIG_DFL);
        close(file);
        close(high);
        for (const int other : others)
            close(other);
        QVERIFY(!failure);
        // The launcher keeps its own.
        QCOMPARE(sigismember(&after, SIGTERM), 1);
        QCOMPARE(sigismember(&after, SIGINT), 0);
        child.process.waitUntilExit();
        const std::string facts = child.output();
        QCOMPARE(factOf(facts, "descriptors"), "0 1 2");
        QCOMPARE(factOf(facts, "stdin"), "/dev/null");
        QCOMPARE(factOf(facts, "SigBlk"), "0000000000000000");
        QCOMPARE(factOf(facts, "SigIgn"), "0000000000000000");
        QCOMPARE(factOf(facts, "SigCgt"), "0000000000000000");
        QCOMPARE(factOf(facts, "cwd"), "/");
        QCOMPARE(factOf(facts, "pgid"),
                 factOf(facts, "pid"));  // Ctrl+C in a terminal reaches only the launcher
        QCOMPARE(factOf(facts, "env.FERROLT_TEST_MARK"), "inherited");
    }

    void aLauncherThatInheritsTheWishToForgetItsChildrenLearnsTheirStatusAllTheSame() {
        std::signal(SIGCHLD, SIG_IGN);
        Child child({"exit", "3"});
        const auto failure = child.launch();
        const auto status = child.process.waitUntilExit();
        std::signal(SIGCHLD, SIG_DFL);
        QVERIFY(!failure);
        QCOMPARE(status, 3);
    }

    void aLauncherWithoutStandardDescriptorsStillGivesItsChildAllThree() {
        const int saved[] = {fcntl(0, F_DUPFD_CLOEXEC, 10), fcntl(1, F_DUPFD_CLOEXEC, 10),
                             fcntl(2, F_DUPFD_CLOEXEC, 10)};
        for (const int standard : {0, 1, 2})
            close(standard);
        std::string facts;
        bool launched = false;
        {
            Child child({"facts"});
            launched = !child.launch();
            child.process.waitUntilExit();
            facts = child.output();
        }
        // The child's pipe used the freed numbers. They are free again when the child's threads have ended.
        const bool settled = waitWithoutEvents([&] { return threadsNamed("child-") == 0; });
        for (const int standard : {0, 1, 2}) {
            dup2(saved[standard], standard);
            close(saved[standard]);
        }
        QVERIFY(launched && settled);
        QCOMPARE(factOf(facts, "descriptors"), "0 1 2");
        QCOMPARE(factOf(facts, "stdin"), "/dev/null");
    }

    void argumentsReachTheChildAsTheyAre() {
        Child child({"facts", "--vardir", "/a folder/with 'quotes' and \xC3\xA9", ""});
        QVERIFY(!child.launch());
        child.process.waitUntilExit();
        QCOMPARE(factOf(child.output(), "argv[2]"), "--vardir");
        QCOMPARE(factOf(child.output(), "argv[3]"), "/a folder/with 'quotes' and \xC3\xA9");
        QCOMPARE(factOf(child.output(), "argv[4]"), "");
    }

    void aLaunchThatFailsSaysWhyAndLeavesNothingBehind_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("error");
        QTest::newRow("missing") << "missing" << ENOENT;
        QTest::newRow("not executable") << "plain" << EACCES;
        QTest::newRow("a folder") << "folder" << EACCES;
        QTest::newRow("a script without interpreter") << "script" << ENOENT;
        QTest::newRow("a text without any") << "text" << ENOEXEC;
        QTest::newRow("a binary of another machine") << "foreign" << ENOEXEC;
        QTest::newRow("an empty file") << "empty" << ENOEXEC;
        QTest::newRow("a working folder that is missing") << "nowhere" << ENOENT;
        QTest::newRow("a working folder that is a file") << "file" << ENOTDIR;
    }
    void aLaunchThatFailsSaysWhyAndLeavesNothingBehind() {
        QFETCH(QString, kind);
        QFETCH(int, error);
        const TestTree tree;
        const fs::path file = tree.path() / "Orbix";
        if (kind == "folder")
            fs::create_directory(file);
        else if (kind == "script")
            TestTree::write(file, "#!/no/such/interpreter\n");
        else if (kind == "text")
            TestTree::write(file, "just text\n");
        else if (kind == "foreign")
            writeForeignBinary(file);
        else if (kind != "missing" && kind != "nowhere" && kind != "file")
            TestTree::write(file, kind == "empty" ? "" : "#!/bin/sh\n");
        if (kind == "nowhere" || kind == "file")
            fs::copy_file(FERROLT_PRACTICE_CHILD, file);
        else if (kind != "missing" && kind != "plain")
            fs::permissions(file, fs::perms::owner_all);

        Child child({"wait"}, file);
        std::string blamed;
        if (kind == "nowhere" || kind == "file") {
            const fs::path folder = kind == "file" ? file : tree.path() / "nowhere";
            child.process.setWorkingFolder(folder);
            blamed = "The working folder \"" + folder.string() + "\" cannot be entered: ";
        }
        const auto failure = child.launch();
        QVERIFY(failure.has_value());
        QCOMPARE(failure->code, error);
        QCOMPARE(failure->localizedDescription(), blamed + strerror(error));
        QVERIFY(!child.process.isRunning());
        QCOMPARE(child.process.processIdentifier(), 0);
        child.process.terminate();
        QCOMPARE(child.process.waitUntilExit(), 0);
        QVERIFY(child.reports().empty());
    }

    void theStartHookIsCalledWhenTheChildRuns() {
        Process process;
        process.setExecutable(FERROLT_PRACTICE_CHILD);
        process.setArguments({"exit", "0"});
        int running = 0;
        process.setStartHook([&] {
            running += process.isRunning() && process.processIdentifier() > 0 ? 1 : 0;
            return 0;
        });
        QVERIFY(!process.launch());
        QCOMPARE(running, 1);
        QCOMPARE(process.waitUntilExit(), 0);
    }

    void aStartHookThatFailsEndsTheChildAndTheLaunch() {
        Process process;
        process.setExecutable(FERROLT_PRACTICE_CHILD);
        process.setArguments({"silent"});
        int reports = 0;
        process.setExitHook([&] { ++reports; });
        process.setTerminationHandler([&](Process::Status) { ++reports; });
        int child = 0;
        process.setStartHook([&] {
            child = process.processIdentifier();
            return EAGAIN;
        });
        const auto error = process.launch();
        QVERIFY(error);
        QCOMPARE(error->code, EAGAIN);
        QVERIFY(child > 0);
        QVERIFY(!isAlive(child));
        QVERIFY(!process.isRunning());
        QCOMPARE(process.processIdentifier(), 0);
        QCOMPARE(reports, 0);
    }

    void aLaunchWithoutAThreadToSpareLeavesNoChild() {
        const int failed = inChild([] {
            if (!obeyLimits())
                return 1;
            // From no process, to the child only, to the child and its thread.
            rlimit limit{};
            getrlimit(RLIMIT_NPROC, &limit);
            for (limit.rlim_cur = 1; limit.rlim_cur < 1000; ++limit.rlim_cur) {
                if (setrlimit(RLIMIT_NPROC, &limit) != 0)
                    return 2;
                Process process;
                process.setExecutable("/bin/true");
                const auto error = process.launch();
                if (!error)
                    return process.waitUntilExit() == 0 ? 0 : 3;
                if (error->code != EAGAIN)
                    return 4;
                if (waitpid(-1, nullptr, WNOHANG) != -1 || process.isRunning() ||
                    process.processIdentifier() != 0)
                    return 5;
            }
            return 6;
        });
        QCOMPARE(failed, 0);
    }

    void aLaunchWithoutADescriptorToSpareFailsCleanly() {
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit few = before;
        few.rlim_cur = 64;
        setrlimit(RLIMIT_NOFILE, &few);
        std::vector<FileDescriptor> taken;
        do {
            taken.emplace_back(dup(0));
        } while (taken.back().isValid());
        taken.pop_back();
        // With 0, 1, 2, ... free descriptors each step of a launch fails in turn, until it succeeds.
        for (std::size_t spare = 0; spare < 12; ++spare) {
            Child child({"exit", "0"});
            const auto failure = child.process.launch();
            if (failure) {
                QCOMPARE(failure->code, EMFILE);
            } else {
                child.process.waitUntilExit();
                QVERIFY(spare >= 3);
                break;
            }
            QVERIFY(spare < 11);
            taken.pop_back();
        }
        setrlimit(RLIMIT_NOFILE, &before);
    }

    void destroyingTheObjectNeitherKillsTheChildNorBlocksAndItIsStillReaped() {
        auto child = std::make_unique<Child>(std::vector<std::string>{"wait"});
        QVERIFY(!child->launch());
        QVERIFY(child->waitForOutput("ready"));
        const pid_t id = child->process.processIdentifier();
        const auto facts = child->facts;
        child.reset();
        QVERIFY(isAlive(id));
        kill(id, SIGTERM);
        QVERIFY(waitWithoutEvents([&] { return processState(id) == '\0'; }));  // gone and no zombie
        QVERIFY(waitWithoutEvents([&] {
            std::lock_guard lock(facts->mutex);
            return facts->reports == std::vector<Process::Status>{SIGTERM};
        }));
    }

    void aRemovedTerminationHandlerIsNotCalled() {
        Child child({"wait"});
        QVERIFY(!child.launch());
        QVERIFY(child.waitForOutput("ready"));
        child.process.removeTerminationHandler();
        child.process.terminate();
        QCOMPARE(child.process.waitUntilExit(), SIGTERM);
        QVERIFY(child.reports().empty());
    }

    void aGrandchildOnThePipeNeitherDelaysTheReportNorLeaksTheReader() {
        Child child({"grandchild"});
        QVERIFY(!child.launch());
        const auto begin = std::chrono::steady_clock::now();
        QCOMPARE(child.process.waitUntilExit(), 0);
        QVERIFY(std::chrono::steady_clock::now() - begin < std::chrono::seconds(10));
        const pid_t grandchild = std::stoi(factOf('\n' + child.output(), "grandchild"));
        QVERIFY(isAlive(grandchild));
        QVERIFY(waitWithoutEvents([&] { return threadsNamed("child-") == 0; }));
        kill(grandchild, SIGKILL);
    }

    void aChildThatClosesItsOutputRunsOn() {
        Child child({"close-output"});
        QVERIFY(!child.launch());
        QVERIFY(child.waitForOutput("closing"));
        QVERIFY(child.process.isRunning());
        child.process.terminate();
        QCOMPARE(child.process.waitUntilExit(), SIGTERM);
    }

    void whenTheLauncherIsKilledTheChildIsAskedToEndWithinASecond() {
        int ends[2];
        QVERIFY(pipe(ends) == 0);
        const pid_t launcher = fork();
        if (launcher == 0) {
            dup2(ends[1], STDOUT_FILENO);
            execl(ownPath.c_str(), ownPath.c_str(), "ProcessTest", "--launch", "wait", nullptr);
            _exit(99);
        }
        close(ends[1]);
        char line[32] = {};
        QVERIFY(read(ends[0], line, sizeof line - 1) > 0);
        close(ends[0]);
        const pid_t child = std::stoi(line);
        QVERIFY(isAlive(child));
        kill(launcher, SIGKILL);
        QVERIFY(waitWithoutEvents([&] { return !isAlive(child); }, std::chrono::seconds(1)));
        waitpid(launcher, nullptr, 0);
    }

    void aThousandStartsAndStopsLeaveNoDescriptorNoThreadAndNoZombie() {
        for (int i = 0; i < 1000; ++i) {
            Child child({"wait"});
            QVERIFY(!child.launch());
            if (i % 2 == 0)
                QVERIFY(child.waitForOutput("ready"));  // every second child is stopped while it starts
            child.process.terminate();
            if (i % 3 == 0)
                child.process.waitUntilExit();
        }
    }  // cleanup() checks the counts

  private:
    int descriptors = 0;

    /// The practice child's binary with another processor in its ELF header.
    static void writeForeignBinary(const fs::path &file) {
        fs::copy_file(FERROLT_PRACTICE_CHILD, file);
        std::fstream binary(file, std::ios::binary | std::ios::in | std::ios::out);
        binary.seekp(18);             // e_machine
        binary.write("\x16\x00", 2);  // S/390
    }
};

TEST_MAIN(ProcessTest) {
    ownPath = fs::read_symlink("/proc/self/exe");
    if (argc == 3 && std::string(argv[1]) == "--launch")
        return runAsLauncher(argv[2]);
    QCoreApplication application(argc, argv);
    ProcessTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ProcessTest.moc"
