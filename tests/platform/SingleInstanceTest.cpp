#include "Rights.h"
#include "SingleInstance.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

/// The exit codes by which another start tells what became of it.
int asExitCode(SingleInstance::Start start) {
    return 10 + static_cast<int>(start);
}

std::string ownPath;

/// A process of another user that does `work` and then stays; returns once that is done. The caller ends it.
template <class Work>
pid_t startAsAnotherUser(Work work) {
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        if (becomeNobody() && work()) {
            [[maybe_unused]] const auto written = write(ends[1], "x", 1);
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

/// The abstract socket names of launchers, as the kernel lists them.
std::vector<std::string> launcherNames() {
    std::vector<std::string> names;
    std::ifstream table("/proc/net/unix");
    for (std::string line; std::getline(table, line);)
        if (const auto at = line.find("@ferrolt-miner-launcher/"); at != std::string::npos)
            names.push_back(line.substr(at + 1));
    return names;
}

bool takeName(const std::string &name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    const int taken = socket(AF_UNIX, SOCK_STREAM, 0);
    return bind(taken, reinterpret_cast<const sockaddr *>(&address), size) == 0 && listen(taken, 5) == 0;
}

/// Starts this program again as another launcher that claims `home`; with "stay" it holds the claim until it
/// is ended.
pid_t startAnother(const std::filesystem::path &home, const char *then = "leave") {
    const pid_t child = fork();
    if (child == 0) {
        execl(ownPath.c_str(), ownPath.c_str(), "--claim", home.c_str(), then, nullptr);
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

int runAsAnother(const char *home, const std::string &then) {
    const SingleInstance instance(home);
    if (then == "stay" && instance.start() == SingleInstance::Start::First) {
        [[maybe_unused]] const auto written = write(STDOUT_FILENO, "first\n", 6);
        pause();
    }
    return asExitCode(instance.start());
}

}  // namespace

class SingleInstanceTest : public QObject {
    Q_OBJECT

    QTemporaryDir folder;
    std::filesystem::path home() const { return folder.path().toStdString(); }

    /// Starts one that stays, and returns once it has the claim.
    pid_t startFirst() const {
        int ends[2];
        if (pipe(ends) != 0)
            return -1;
        const pid_t child = fork();
        if (child == 0) {
            dup2(ends[1], STDOUT_FILENO);
            execl(ownPath.c_str(), ownPath.c_str(), "--claim", home().c_str(), "stay", nullptr);
            _exit(99);
        }
        ::close(ends[1]);
        char word[6] = {};
        const bool claimed = read(ends[0], word, sizeof word) == sizeof word;
        ::close(ends[0]);
        return claimed ? child : -1;
    }

  private Q_SLOTS:
    void aSecondStartHandsOverToTheFirstAsAReopen() {
        SingleInstance first(home());
        QCOMPARE(first.start(), SingleInstance::Start::First);
        int reopened = 0;
        first.listen([&] { ++reopened; });
        const auto begin = std::chrono::steady_clock::now();
        QCOMPARE(exitCode(startAnother(home())), asExitCode(SingleInstance::Start::HandedOver));
        QVERIFY(std::chrono::steady_clock::now() - begin < std::chrono::seconds(5));
        QVERIFY(waitUntil([&] { return reopened == 1; }));
    }

    void aSecondStartBeforeTheFirstListensIsNotForgotten() {
        SingleInstance first(home());
        QCOMPARE(exitCode(startAnother(home())), asExitCode(SingleInstance::Start::HandedOver));
        int reopened = 0;
        first.listen([&] { ++reopened; });
        QVERIFY(waitUntil([&] { return reopened == 1; }));
    }

    void aStartBesideAFirstThatIsEndingWaitsForItsPlace() {
        auto first = std::make_unique<SingleInstance>(home());
        first->listen([] {});
        first->stopListening();
        const pid_t second = startAnother(home());
        // Longer than a first that hears it would be given to confirm.
        QVERIFY(!waitWithoutEvents([&] { return hasEnded(second); }, std::chrono::milliseconds(400)));
        first.reset();
        QCOMPARE(exitCode(second), asExitCode(SingleInstance::Start::First));
    }

    void withoutADescriptorToSpareAStartIsHeardOnceThereIsOne() {
        SingleInstance first(home());
        int reopened = 0;
        first.listen([&] { ++reopened; });
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit none = before;
        none.rlim_cur = 3;
        const pid_t second = startAnother(home());
        setrlimit(RLIMIT_NOFILE, &none);
        const int code = exitCode(second);
        timespec begin{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &begin);
        QTest::qWait(300);
        timespec end{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &end);
        setrlimit(RLIMIT_NOFILE, &before);
        QCOMPARE(code, asExitCode(SingleInstance::Start::HandedOver));
        QVERIFY(waitUntil([&] { return reopened == 1; }));
        const double spent = double(end.tv_sec - begin.tv_sec) + double(end.tv_nsec - begin.tv_nsec) / 1e9;
        QVERIFY2(spent < 0.2, qPrintable(QString::number(spent)));  // it slept meanwhile
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
        const pid_t first = startFirst();
        QVERIFY(first > 0);
        kill(first, SIGKILL);
        QCOMPARE(exitCode(first), -SIGKILL);
        QVERIFY(std::filesystem::exists(home() / ".local/state/ferrolt-miner-launcher/instance.lock"));
        QCOMPARE(SingleInstance(home()).start(), SingleInstance::Start::First);
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

    void anotherUsersLauncherInTheSameHomeIsNotTouched() {
        if (getuid() != 0)
            QSKIP("only root can be two users");
        std::filesystem::permissions(home(), std::filesystem::perms::all);
        const pid_t theirs = startAsAnotherUser([this] {
            static std::unique_ptr<SingleInstance> instance;
            instance = std::make_unique<SingleInstance>(home() / "theirs");
            return instance->start() == SingleInstance::Start::First;
        });
        QVERIFY(theirs > 0);
        const SingleInstance ours(home() / "theirs");
        // The lock is theirs, and so is the place: but nothing of theirs is told to reopen.
        QCOMPARE(ours.start(), SingleInstance::Start::Unanswered);
        QCOMPARE(kill(theirs, SIGKILL), 0);
        exitCode(theirs);
    }

    void aNameThatAnotherUserHasTakenStopsNoStart() {
        if (getuid() != 0)
            QSKIP("only root can be two users");
        const auto before = launcherNames();
        auto first = std::make_unique<SingleInstance>(home());
        QCOMPARE(first->start(), SingleInstance::Start::First);
        std::string name;
        for (const std::string &candidate : launcherNames())
            if (std::find(before.begin(), before.end(), candidate) == before.end())
                name = candidate;
        QVERIFY(!name.empty());
        first.reset();
        const pid_t squatter = startAsAnotherUser([&] { return takeName(name); });
        QVERIFY(squatter > 0);
        QCOMPARE(SingleInstance(home()).start(), SingleInstance::Start::First);
        QCOMPARE(kill(squatter, SIGKILL), 0);
        exitCode(squatter);
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

    void aLockThatIsALinkIsNotFollowed() {
        const QTemporaryDir fresh;
        const std::filesystem::path state =
            fresh.path().toStdString() + "/.local/state/ferrolt-miner-launcher";
        std::filesystem::create_directories(state);
        std::filesystem::create_symlink("/etc/passwd", state / "instance.lock");
        const SingleInstance first(fresh.path().toStdString());
        QCOMPARE(first.start(), SingleInstance::Start::First);
        QVERIFY(std::filesystem::is_symlink(state / "instance.lock"));
    }
};

int main(int argc, char **argv) {
    ownPath = std::filesystem::read_symlink("/proc/self/exe");
    if (argc == 4 && std::string(argv[1]) == "--claim")
        return runAsAnother(argv[2], argv[3]);
    QCoreApplication application(argc, argv);
    SingleInstanceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "SingleInstanceTest.moc"
