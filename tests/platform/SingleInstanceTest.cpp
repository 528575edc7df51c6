#include "CpuTime.h"
#include "ProcessFacts.h"
#include "Rights.h"
#include "SingleInstance.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

/// The exit codes that report another start's outcome.
int asExitCode(SingleInstance::Start start) {
    return 10 + static_cast<int>(start);
}

std::string ownProgram;

/// Forks a process of another user that does `work` and then sleeps. Returns when `work` is done. The caller
/// kills the process.
template <class Work>
pid_t startAsAnotherUser(Work work) {
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        if (setgid(nobody) == 0 && setuid(nobody) == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && work()) {
            [[maybe_unused]] const auto written = ::write(ends[1], "x", 1);
            pause();
        }
        _exit(99);
    }
    ::close(ends[1]);
    char byte = 0;
    const bool isDone = read(ends[0], &byte, 1) == 1;
    ::close(ends[0]);
    return isDone ? child : -1;
}

std::filesystem::path stateFolder(const std::filesystem::path &home) {
    return home / ".local/state/ferrolt-miner-launcher";
}

/// Connects as a later start does; -1 and errno on failure.
int connectTo(const std::filesystem::path &home) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (stateFolder(home) / "reopen.socket").native().copy(address.sun_path, sizeof address.sun_path - 1);
    const int connection = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    return connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 ? connection
                                                                                                  : -1;
}

void say(int connection, const std::string &message) {
    [[maybe_unused]] const auto sent = send(connection, message.data(), message.size(), MSG_NOSIGNAL);
}

/// Starts this program as another launcher for `home`. With "stay" it keeps the lock until it is ended.
pid_t startAnother(const std::filesystem::path &home, const char *then = "leave") {
    const pid_t child = fork();
    if (child == 0) {
        execl(ownProgram.c_str(), ownProgram.c_str(), "SingleInstanceTest", "--claim", home.c_str(), then,
              nullptr);
        _exit(99);
    }
    return child;
}

int exitCode(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool hasEnded(pid_t child) {
    siginfo_t end{};
    return waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           end.si_pid == child;
}

/// A process that runs until it is killed.
pid_t startSleeper() {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (;;)
            pause();
    }
    return child;
}

int runAsAnother(const char *home, const std::string &then) {
    SingleInstance instance(home);
    if (then.starts_with("remember ")) {
        int argc = 1;
        char name[] = "launcher";
        char *argv[] = {name, nullptr};
        const QCoreApplication application(argc, argv);
        instance.rememberChild(std::stoi(then.substr(9)));
    }
    if (then == "stay" && instance.start() == SingleInstance::Start::First) {
        [[maybe_unused]] const auto written = ::write(STDOUT_FILENO, "first\n", 6);
        pause();
    }
    return asExitCode(instance.start());
}

}  // namespace

class SingleInstanceTest : public QObject {
    Q_OBJECT

    QTemporaryDir folder;
    std::filesystem::path home() const { return folder.path().toStdString(); }

    /// Starts one that stays, and returns when it has the lock.
    pid_t startFirst() const {
        int ends[2];
        if (pipe(ends) != 0)
            return -1;
        const pid_t child = fork();
        if (child == 0) {
            dup2(ends[1], STDOUT_FILENO);
            execl(ownProgram.c_str(), ownProgram.c_str(), "SingleInstanceTest", "--claim", home().c_str(),
                  "stay", nullptr);
            _exit(99);
        }
        ::close(ends[1]);
        char word[6] = {};
        const bool claimed = read(ends[0], word, sizeof word) == sizeof word;
        ::close(ends[0]);
        return claimed ? child : -1;
    }

    QTemporaryDir runtimeFolder;

  private Q_SLOTS:
    void initTestCase() { qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8()); }

    void aSecondStartHandsOverToTheFirstAsAReopen() {
        SingleInstance first(home());
        QCOMPARE(first.start(), SingleInstance::Start::First);
        int reopened = 0;
        first.listen([&](const std::string &) { ++reopened; });
        const auto begin = std::chrono::steady_clock::now();
        const pid_t second = startAnother(home());
        QVERIFY(waitUntil([&] { return hasEnded(second); }));  // meanwhile the first confirms it
        QVERIFY(std::chrono::steady_clock::now() - begin < std::chrono::seconds(5));
        QCOMPARE(exitCode(second), asExitCode(SingleInstance::Start::HandedOver));
        QCOMPARE(reopened, 1);
    }

    void aSecondStartLearnsThatItWasHeard() {
        SingleInstance first(home());
        int reopened = 0;
        first.listen([&](const std::string &) { ++reopened; });
        const pid_t second = startAnother(home());
        QVERIFY(waitUntil([&] { return hasEnded(second); }));
        QCOMPARE(exitCode(second), asExitCode(SingleInstance::Start::HandedOver));
        QVERIFY(waitUntil([&] { return reopened == 1; }));
    }

    void aSecondStartBeforeTheFirstListensIsNotForgotten() {
        SingleInstance first(home());
        QCOMPARE(exitCode(startAnother(home())), asExitCode(SingleInstance::Start::HandedOver));
        int reopened = 0;
        first.listen([&](const std::string &) { ++reopened; });
        QVERIFY(waitUntil([&] { return reopened == 1; }));
    }

    void aStartBesideAFirstThatIsEndingWaitsForItsPlace() {
        auto first = std::make_unique<SingleInstance>(home());
        first->listen([](const std::string &) {});
        first->stopListening();
        const pid_t second = startAnother(home());
        // Longer than a later start waits for the confirmation.
        QVERIFY(!waitWithoutEvents([&] { return hasEnded(second); }, std::chrono::milliseconds(400)));
        first.reset();
        QCOMPARE(exitCode(second), asExitCode(SingleInstance::Start::First));
    }

    void withoutADescriptorToSpareAStartIsHeardOnceThereIsOne() {
        SingleInstance first(home());
        int reopened = 0;
        first.listen([&](const std::string &) { ++reopened; });
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit none = before;
        none.rlim_cur = 3;
        const pid_t second = startAnother(home());
        setrlimit(RLIMIT_NOFILE, &none);
        const int code = exitCode(second);
        const CpuTime computed(CpuTime::Of::Process);
        QTest::qWait(300);
        const long long spent = computed.milliseconds();
        setrlimit(RLIMIT_NOFILE, &before);
        QCOMPARE(code, asExitCode(SingleInstance::Start::HandedOver));
        QVERIFY(waitUntil([&] { return reopened == 1; }));
        QVERIFY2(spent < 200, qPrintable(QString::number(spent)));  // it did not spin
    }

    void ofTenStartedAtOnceOneIsFirst() {
        std::vector<pid_t> children;
        for (int i = 0; i < 10; ++i)
            children.push_back(startAnother(home(), "stay"));
        int handedOver = 0;
        for (int i = 0; i < 9; ++i) {
            int status = 0;
            const pid_t ended = wait(&status);
            std::erase(children, ended);
            handedOver +=
                WIFEXITED(status) && WEXITSTATUS(status) == asExitCode(SingleInstance::Start::HandedOver);
        }
        QCOMPARE(handedOver, 9);
        QCOMPARE(children.size(), 1U);
        QCOMPARE(kill(children.front(), 0), 0);
        kill(children.front(), SIGKILL);
        exitCode(children.front());
    }

    void aClaimOfAProcessThatWasKilledNeverStopsAStart() {
        const pid_t killed = startFirst();
        QVERIFY(killed > 0);
        kill(killed, SIGKILL);
        QCOMPARE(exitCode(killed), -SIGKILL);
        QVERIFY(std::filesystem::exists(stateFolder(home()) / "instance.lock"));
        QVERIFY(std::filesystem::exists(stateFolder(home()) / "reopen.socket"));
        const SingleInstance first(home());
        QCOMPARE(first.start(), SingleInstance::Start::First);
        const int connection = connectTo(home());
        QVERIFY(connection >= 0);
        ::close(connection);
    }

    void aFirstThatDoesNotReactStillTakesTheHandOver() {
        const pid_t first = startFirst();
        QVERIFY(first > 0);
        kill(first, SIGSTOP);
        const auto begin = std::chrono::steady_clock::now();
        QCOMPARE(SingleInstance(home()).start(), SingleInstance::Start::HandedOver);
        QVERIFY(std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(300));
        kill(first, SIGKILL);
        exitCode(first);
    }

    void anotherHomeIsAnotherLauncher() {
        const QTemporaryDir other;
        const SingleInstance first(home());
        const SingleInstance second(other.path().toStdString());
        QCOMPARE(first.start(), SingleInstance::Start::First);
        QCOMPARE(second.start(), SingleInstance::Start::First);
    }

    void itsActivationTokenComesWithTheReopen_data() {
        QTest::addColumn<QByteArray>("given");
        QTest::addColumn<QByteArray>("received");
        QTest::newRow("none") << QByteArray() << QByteArray();
        QTest::newRow("one") << QByteArray("desk-1_2.3-TIME7") << QByteArray("desk-1_2.3-TIME7");
        QTest::newRow("the longest") << QByteArray(256, 't') << QByteArray(256, 't');
        QTest::newRow("too long") << QByteArray(257, 't') << QByteArray();
        QTest::newRow("not a token") << QByteArray("two words") << QByteArray();
    }
    void itsActivationTokenComesWithTheReopen() {
        QFETCH(QByteArray, given);
        QFETCH(QByteArray, received);
        SingleInstance first(home());
        std::vector<std::string> tokens;
        first.listen([&](const std::string &token) { tokens.push_back(token); });
        qputenv("XDG_ACTIVATION_TOKEN", given);
        const pid_t second = startAnother(home());
        qunsetenv("XDG_ACTIVATION_TOKEN");
        QCOMPARE(exitCode(second), asExitCode(SingleInstance::Start::HandedOver));
        QVERIFY(waitUntil([&] { return !tokens.empty(); }));
        QCOMPARE(tokens, std::vector{received.toStdString()});
    }

    void aMessageThatIsNoRequestIsIgnored_data() {
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("another") << QByteArray("close\n");
        QTest::newRow("another of its length") << QByteArray("reclose\nnow");
        QTest::newRow("a character without a picture") << QByteArray("reopen\na\x7f");
        QTest::newRow("cut short") << QByteArray("reope");
        QTest::newRow("too long") << QByteArray("reopen\n" + QByteArray(257, 't'));
        QTest::newRow("far too long") << QByteArray("reopen\n" + QByteArray(100'000, 't'));
        QTest::newRow("a control character") << QByteArray("reopen\na\033[0m");
        QTest::newRow("a zero byte") << QByteArray("reopen\n\0", 8);
    }
    void aMessageThatIsNoRequestIsIgnored() {
        QFETCH(QByteArray, message);
        SingleInstance first(home());
        std::vector<std::string> tokens;
        first.listen([&](const std::string &token) { tokens.push_back(token); });
        const int bad = connectTo(home());
        QVERIFY(bad >= 0);
        say(bad, message.toStdString());
        const int good = connectTo(home());
        say(good, "reopen\nafter");
        QVERIFY(waitUntil([&] { return !tokens.empty(); }));
        QCOMPARE(tokens, std::vector<std::string>{"after"});
        char byte = 0;
        QCOMPARE(recv(bad, &byte, 1, 0), ssize_t{0});   // hung up
        QCOMPARE(recv(good, &byte, 1, 0), ssize_t{1});  // confirmed
        ::close(bad);
        ::close(good);
    }

    void connectionsThatSayNothingHoldNobodyUp() {
        SingleInstance first(home());
        int reopened = 0;
        first.listen([&](const std::string &) { ++reopened; });
        const int before = openDescriptors();
        std::vector<int> silent;
        for (int i = 0; i < 100; ++i)
            silent.push_back(connectTo(home()));
        QCOMPARE(exitCode(startAnother(home())), asExitCode(SingleInstance::Start::HandedOver));
        QVERIFY(waitUntil([&] { return reopened == 1; }));
        QVERIFY(openDescriptors() < before + 100 + 20);  // it keeps only the newest connections
        for (const int connection : silent)
            ::close(connection);
    }

    void manyRequestsAtOnceLeaveTheEventLoopItsTurns() {
        SingleInstance first(home());
        int reopened = 0;
        first.listen([&](const std::string &) { ++reopened; });
        std::vector<int> starts;
        for (int i = 0; i < 200; ++i) {
            starts.push_back(connectTo(home()));
            say(starts.back(), "reopen\n");
        }
        QVERIFY(waitUntil([&] { return reopened > 0; }));
        bool cameInBetween = false;
        QTimer::singleShot(0, this, [&] { cameInBetween = reopened < 200; });
        QVERIFY(waitUntil([&] { return reopened == 200; }));
        QVERIFY(cameInBetween);
        for (const int connection : starts)
            ::close(connection);
    }

    void anotherUserCanNeitherConnectNorLock() {
        if (getuid() != 0)
            QSKIP("only root can be two users");
        std::filesystem::permissions(home(), std::filesystem::perms::all);
        const mode_t before = umask(0);
        std::filesystem::create_directories(stateFolder(home()));
        const SingleInstance first(home());
        umask(before);
        QCOMPARE(first.start(), SingleInstance::Start::First);
        const pid_t stranger = startAsAnotherUser([this] {
            const auto lock = stateFolder(home()) / "instance.lock";
            return connectTo(home()) < 0 && errno == EACCES && open(lock.c_str(), O_RDONLY) < 0 &&
                   errno == EACCES;
        });
        QVERIFY(stranger > 0);
        QCOMPARE(kill(stranger, SIGKILL), 0);
        exitCode(stranger);
    }

    void theFoldersThatItMakesAreForThisUserOnly() {
        const QTemporaryDir fresh;
        const std::filesystem::path newHome = fresh.path().toStdString();
        const SingleInstance first(newHome);
        const auto parent = stateFolder(newHome).parent_path();
        for (const auto &folder : {stateFolder(newHome), parent, parent.parent_path()})
            QCOMPARE(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
    }

    void whatAnotherUserLeftThereIsNotUsedAndStopsNoStart_data() {
        QTest::addColumn<QString>("left");
        QTest::newRow("their folder, open to all") << "folder";
        QTest::newRow("their lock in an open folder") << "lock";
    }
    void whatAnotherUserLeftThereIsNotUsedAndStopsNoStart() {
        if (getuid() != 0)
            QSKIP("only root can be two users");
        QFETCH(QString, left);
        const QTemporaryDir fresh;
        const std::filesystem::path open = fresh.path().toStdString();
        std::filesystem::permissions(open, std::filesystem::perms::all);
        if (left == "lock") {
            std::filesystem::create_directories(stateFolder(open));
            std::filesystem::permissions(stateFolder(open), std::filesystem::perms::all);
        }
        const pid_t squatter = startAsAnotherUser([&] {
            umask(0);
            std::filesystem::create_directories(stateFolder(open));
            if (left == "folder")
                return true;
            const int lock = ::open((stateFolder(open) / "instance.lock").c_str(), O_RDWR | O_CREAT, 0666);
            return flock(lock, LOCK_EX | LOCK_NB) == 0;
        });
        QVERIFY(squatter > 0);
        const SingleInstance first(open);
        QCOMPARE(first.start(), SingleInstance::Start::First);
        QVERIFY(!std::filesystem::exists(stateFolder(open) / "reopen.socket"));
        QCOMPARE(SingleInstance(open).start(), SingleInstance::Start::HandedOver);
        QCOMPARE(kill(squatter, SIGKILL), 0);
        exitCode(squatter);
    }

    void aHomeWhoseNameIsLongerThanASocketsIsLikeAnyOther() {
        const std::filesystem::path deep = home() / std::string(100, 'd') / std::string(100, 'e');
        std::filesystem::create_directories(deep);
        SingleInstance first(deep);
        int reopened = 0;
        first.listen([&](const std::string &) { ++reopened; });
        QVERIFY(std::filesystem::is_socket(stateFolder(deep) / "reopen.socket"));
        QCOMPARE(exitCode(startAnother(deep)), asExitCode(SingleInstance::Start::HandedOver));
        QVERIFY(waitUntil([&] { return reopened == 1; }));
    }

    void aStartWaitsForTheFormerLaunchersChildren() {
        const pid_t engine = startSleeper();
        const std::string remember = "remember " + std::to_string(engine);
        QCOMPARE(exitCode(startAnother(home(), remember.c_str())), asExitCode(SingleInstance::Start::First));
        const pid_t next = startAnother(home());
        QVERIFY(!waitWithoutEvents([&] { return hasEnded(next); }, std::chrono::seconds(1)));
        // A third start finds the second one running.
        QCOMPARE(exitCode(startAnother(home())), asExitCode(SingleInstance::Start::HandedOver));
        kill(engine, SIGKILL);
        QCOMPARE(exitCode(next), asExitCode(SingleInstance::Start::First));
        exitCode(engine);
    }

    void aChildThatDoesNotEndHoldsTheNextStartUpForTenSecondsAndNoLaterOne() {
        const pid_t engine = startSleeper();
        const std::string remember = "remember " + std::to_string(engine);
        exitCode(startAnother(home(), remember.c_str()));
        const auto begin = std::chrono::steady_clock::now();
        QCOMPARE(exitCode(startAnother(home())), asExitCode(SingleInstance::Start::First));
        const auto waited = std::chrono::steady_clock::now() - begin;
        QVERIFY(waited >= std::chrono::seconds(10) && waited < std::chrono::seconds(20));
        const pid_t later = startAnother(home());
        QVERIFY(waitWithoutEvents([&] { return hasEnded(later); }, std::chrono::seconds(5)));
        QCOMPARE(exitCode(later), asExitCode(SingleInstance::Start::First));
        kill(engine, SIGKILL);
        exitCode(engine);
    }

    void anotherProcessThatHasAChildsIdHoldsNobodyUp() {
        exitCode(startAnother(home()));
        std::ofstream(stateFolder(home()) / "instance.lock") << getpid() << " 0\n"
                                                             << getpid() << " 1\nno number\n";
        const pid_t next = startAnother(home());
        QVERIFY(waitWithoutEvents([&] { return hasEnded(next); }, std::chrono::seconds(5)));
        QCOMPARE(exitCode(next), asExitCode(SingleInstance::Start::First));
    }

    void theNotesOfChildrenThatEndedAreDropped() {
        SingleInstance first(home());
        const auto notes = [this] {
            std::ifstream file(stateFolder(home()) / "instance.lock");
            return std::string(std::istreambuf_iterator<char>(file), {});
        };
        const pid_t old = startSleeper();
        first.rememberChild(old);
        first.rememberChild(old);
        const std::string once = notes();
        QCOMPARE(std::count(once.begin(), once.end(), '\n'), 1);
        kill(old, SIGKILL);
        exitCode(old);
        const pid_t current = startSleeper();
        first.rememberChild(current);
        QVERIFY2(notes().starts_with(std::to_string(current) + ' '), notes().c_str());
        kill(current, SIGKILL);
        exitCode(current);
    }

    void aChildThatEndedBeforeItWasNotedIsLeftOut() {
        SingleInstance first(home());
        const pid_t ended = startSleeper();
        kill(ended, SIGKILL);
        exitCode(ended);
        first.rememberChild(ended);
        QCOMPARE(std::filesystem::file_size(stateFolder(home()) / "instance.lock"), std::uintmax_t{0});
    }

    /// A launcher on another machine, whose home is this one over a network, or one that neither listens nor
    /// ends.
    void aStartThatNobodyAnswersGivesUpAfterFiveSeconds() {
        const QTemporaryDir fresh;
        const std::filesystem::path state = stateFolder(fresh.path().toStdString());
        std::filesystem::create_directories(state);
        const int lock = ::open((state / "instance.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        QCOMPARE(flock(lock, LOCK_EX | LOCK_NB), 0);
        const auto begin = std::chrono::steady_clock::now();
        QCOMPARE(SingleInstance(fresh.path().toStdString()).start(), SingleInstance::Start::Unanswered);
        QVERIFY(std::chrono::steady_clock::now() - begin >= std::chrono::seconds(5));
        ::close(lock);
    }

    void aSecondFolderWhoseLauncherDoesNotAnswerStopsNoStart_data() {
        QTest::addColumn<bool>("isLocked");
        QTest::newRow("it holds the lock and does not listen") << true;
        QTest::newRow("the lock is a folder") << false;
    }
    void aSecondFolderWhoseLauncherDoesNotAnswerStopsNoStart() {
        QFETCH(bool, isLocked);
        const QTemporaryDir fresh;
        const std::filesystem::path own = fresh.path().toStdString();
        const std::filesystem::path second = std::filesystem::path(runtimeFolder.path().toStdString()) /
                                             ("ferrolt-miner-launcher-" + std::to_string(getuid()) + '-' +
                                              std::to_string(std::hash<std::string>()(own.native())));
        std::filesystem::create_directory(second);
        int lock = -1;
        if (isLocked) {
            lock = ::open((second / "instance.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
            QCOMPARE(flock(lock, LOCK_EX | LOCK_NB), 0);
        } else {
            std::filesystem::create_directory(second / "instance.lock");
        }
        QCOMPARE(SingleInstance(own).start(), SingleInstance::Start::First);
        ::close(lock);
        std::filesystem::remove_all(second);
    }

    void theSameHomeByAnotherPathIsTheSameLauncher() {
        const QTemporaryDir other;
        const std::filesystem::path link = other.path().toStdString() + "/link";
        std::filesystem::create_directory_symlink(home(), link);
        const SingleInstance first(home());
        QCOMPARE(first.start(), SingleInstance::Start::First);
        QCOMPARE(SingleInstance(link).start(), SingleInstance::Start::HandedOver);
    }

    void aHomeThatCannotBeWrittenStillHasOneLauncher() {
        const std::filesystem::path file = home() / "file";
        QVERIFY(::close(::creat(file.c_str(), 0600)) == 0);
        const SingleInstance first(file);
        QCOMPARE(first.start(), SingleInstance::Start::First);
        QCOMPARE(SingleInstance(file).start(), SingleInstance::Start::HandedOver);
    }

    void aFirstThatCouldNotUseTheHomeIsFoundWhenItCanBeUsedAgain() {
        const QTemporaryDir fresh;
        const std::filesystem::path own = fresh.path().toStdString();
        const std::filesystem::path obstacle = own / ".local";
        QVERIFY(::close(::creat(obstacle.c_str(), 0600)) == 0);
        auto first = std::make_unique<SingleInstance>(own);
        QCOMPARE(first->start(), SingleInstance::Start::First);
        std::filesystem::remove(obstacle);
        QCOMPARE(SingleInstance(own).start(), SingleInstance::Start::HandedOver);
        first.reset();
        QCOMPARE(SingleInstance(own).start(), SingleInstance::Start::First);
    }

    void aLockThatIsNoFileIsNotUsed() {
        const QTemporaryDir fresh;
        const std::filesystem::path state = stateFolder(fresh.path().toStdString());
        std::filesystem::create_directories(state);
        QCOMPARE(mkfifo((state / "instance.lock").c_str(), 0600), 0);
        const SingleInstance first(fresh.path().toStdString());
        QCOMPARE(first.start(), SingleInstance::Start::First);
        QVERIFY(!std::filesystem::exists(state / "reopen.socket"));
    }

    void aLockThatIsALinkIsNotFollowed() {
        const QTemporaryDir fresh;
        const std::filesystem::path state = stateFolder(fresh.path().toStdString());
        std::filesystem::create_directories(state);
        std::filesystem::create_symlink("/etc/passwd", state / "instance.lock");
        const SingleInstance first(fresh.path().toStdString());
        QCOMPARE(first.start(), SingleInstance::Start::First);
        QVERIFY(std::filesystem::is_symlink(state / "instance.lock"));
    }
};

TEST_MAIN(SingleInstanceTest) {
    ownProgram = std::filesystem::read_symlink("/proc/self/exe");
    if (argc == 4 && std::string(argv[1]) == "--claim")
        return runAsAnother(argv[2], argv[3]);
    QCoreApplication application(argc, argv);
    SingleInstanceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "SingleInstanceTest.moc"
