// The built program looked at from outside, beside a plain Qt window: its start, its memory, and what it does
// when there is nothing to do.

#include "LauncherFigures.h"
#include "Listener.h"
#include "Measuring.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include <dirent.h>

namespace ferrolt::bench {

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

void write(const fs::path &file, const std::string &text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

/// The launcher as a package would install it, with such children and a home of its own.
class Installation {
  public:
    explicit Installation(const std::string &behaviour) : behaviour(behaviour) {
        fs::create_directories(root() / "bin");
        fs::copy_file(FERROLT_LAUNCHER, program());
        const fs::path engine = root() / "share/ferrolt-miner-launcher/Tandril/LumoraCore";
        install(engine / "MediaEngine/Orbix");
        install(root() / "bin/qorclient");
        fs::create_directories(fs::path(FERROLT_DEVELOPMENT_FOLDER) / "Client");  // where the client works
        write(engine / "Properties/local.properties",
              "MediaSocketPort = " + std::to_string(port.port) + "\n");
        fs::create_directories(root() / "runtime");
        fs::permissions(root() / "runtime", fs::perms::owner_all);
    }

    fs::path program() const { return root() / "bin/ferrolt-miner-launcher"; }

    /// A home whose user has filled the form in, or not yet.
    QProcessEnvironment environment(bool isIdentityComplete) const {
        const fs::path home = root() / (isIdentityComplete ? "home" : "new-home");
        if (isIdentityComplete)
            write(home / ".qor" / FERROLT_NODE_SERVER_HOST / "MinerClient.properties",
                  "MinerEmailAddress = ada@example.org\nMinerEntityName = Ada Lovelace\n");
        fs::create_directories(home);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), QString::fromStdString(home));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), QString::fromStdString(root() / "runtime"));
        for (const char *name : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
            environment.remove(QString::fromLatin1(name));
        return environment;
    }

  private:
    fs::path root() const { return folder.path().toStdString(); }

    void install(const fs::path &child) const {
        fs::create_directories(child.parent_path());
        fs::copy_file(FERROLT_PRACTICE_CHILD, child);
        write(child.string() + ".behaviour", behaviour + '\n');
    }

    std::string behaviour;
    QTemporaryDir folder;
    Listener port;
};

std::vector<pid_t> childrenOf(pid_t parent) {
    std::vector<pid_t> children;
    for (const QString &name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        if (name.front().isDigit() && statusOf(name.toInt(), "PPid:") == parent)
            children.push_back(name.toInt());
    }
    return children;
}

/// Whether a process has not ended yet, or has not even begun to.
bool isAlive(pid_t process) {
    return residentMegabytes(process) > 0;
}

class Program {
  public:
    Program(const fs::path &program, const QStringList &arguments, QProcessEnvironment environment,
            const QString &firstPaint = QString()) {
        if (!firstPaint.isEmpty()) {
            environment.insert(QStringLiteral("FIRST_PAINT"), firstPaint);
            environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(FERROLT_FIRST_PAINT));
        }
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        started = std::chrono::steady_clock::now().time_since_epoch().count();
        process.start(QString::fromStdString(program), arguments);
        process.waitForStarted();
    }
    ~Program() {
        process.terminate();
        if (!process.waitForFinished(10000))
            process.kill();
        process.waitForFinished();
    }
    pid_t id() const { return static_cast<pid_t>(process.processId()); }

    std::int64_t started = 0;
    QProcess process;
};

struct Start {
    double milliseconds = 0;
    double megabytes = 0;
};

Start startOf(const fs::path &program, const QProcessEnvironment &environment) {
    const QTemporaryDir folder;
    const QString noted = folder.filePath(QStringLiteral("first-paint"));
    const Program running(program, {}, environment, noted);
    std::int64_t painted = 0;
    runUntil(
        [&] {
            QFile file(noted);
            painted = file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toLongLong() : 0;
            return painted > 0;
        },
        "a first paint");
    runFor(1s);
    return {static_cast<double>(painted - running.started) * 1e-6, residentMegabytes(running.id())};
}

/// Context switches of both programs in that time. Of a program that is never switched to nobody sees a
/// system call either.
void compareSwitches(pid_t ours, pid_t plain, std::chrono::seconds time, Samples &oursSwitches,
                     Samples &plainSwitches) {
    const ThreadSwitches oursBefore = contextSwitches(ours);
    const ThreadSwitches plainBefore = contextSwitches(plain);
    runFor(time);
    oursSwitches.push_back(static_cast<double>(switchesBetween(oursBefore, contextSwitches(ours))));
    plainSwitches.push_back(static_cast<double>(switchesBetween(plainBefore, contextSwitches(plain))));
}

/// Shows the window of the launcher that runs there, as its user does by starting it once more.
void openWindow(const Installation &installation, const QProcessEnvironment &environment) {
    QProcess again;
    again.setProcessEnvironment(environment);
    again.start(QString::fromStdString(installation.program()), {});
    if (!again.waitForFinished() || again.exitCode() != 0)
        giveUp("The launcher's window does not open.");
}

}  // namespace

void startAndIdle(const Options &options) {
    const Installation installation("silent");
    const QProcessEnvironment fresh = installation.environment(false);
    Samples start;
    Samples plainStart;
    Samples memory;
    Samples plainMemory;
    for (int run = 0; run < options.runs; ++run) {
        const Start plain = startOf(FERROLT_PLAIN_WINDOW, fresh);
        const Start ours = startOf(installation.program(), fresh);
        plainStart.push_back(plain.milliseconds);
        start.push_back(ours.milliseconds);
        plainMemory.push_back(plain.megabytes);
        memory.push_back(ours.megabytes);
    }
    report(
        {"start to first paint", "ms", start, "plain window", plainStart, Judged::Ratio, Goal::AtMost, 1.3});
    report({"resident memory after it", "MB", memory, "plain window", plainMemory, Judged::Difference,
            Goal::AtMost, 8});

    const QProcessEnvironment complete = installation.environment(true);
    const Program ours(installation.program(), {}, complete);
    runUntil([&] { return childrenOf(ours.id()).size() == 2; }, "the launcher's children");
    Samples idle;
    Samples plainIdle;
    {
        const Program plain(FERROLT_PLAIN_WINDOW, {QStringLiteral("--closed")}, complete);
        runFor(options.quick ? 2s : 5s);
        for (int run = 0; run < options.runs; ++run)
            compareSwitches(ours.id(), plain.id(), options.quick ? 3s : 10s, idle, plainIdle);
    }
    report({"silent children, window closed: context switches", "", idle, "plain window", plainIdle,
            Judged::Ours, Goal::AtMost, 0});
    Samples open;
    Samples plainOpen;
    {
        const Program plain(FERROLT_PLAIN_WINDOW, {}, complete);
        openWindow(installation, complete);
        runFor(2s);
        for (int run = 0; run < options.runs; ++run)
            compareSwitches(ours.id(), plain.id(), options.quick ? 3s : 12s, open, plainOpen);
    }
    report({"silent children, window open on Home: context switches", "", open, "plain window", plainOpen,
            Judged::Ours, Goal::AtMost, 0});
}

void quitInTheFlood(const Options &options) {
    Samples asked;
    Samples gone;
    for (int run = 0; run < options.runs; ++run) {
        const Installation installation("flood");
        const QProcessEnvironment environment = installation.environment(true);
        Program program(installation.program(), {}, environment);
        runUntil([&] { return childrenOf(program.id()).size() == 2; }, "the launcher's children");
        openWindow(installation, environment);
        runFor(2s);
        const std::vector<pid_t> children = childrenOf(program.id());
        const auto begin = std::chrono::steady_clock::now();
        const auto since = [&] {
            return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
                .count();
        };
        const auto pollUntil = [&](const std::function<bool()> &isSo) {
            while (!isSo()) {
                if (since() > 5000)
                    giveUp("The launcher does not quit.");
                std::this_thread::sleep_for(500us);
            }
            return since();
        };
        // It ends as at its own command; the children end as soon as they are asked to.
        program.process.terminate();
        asked.push_back(pollUntil([&] { return std::none_of(children.begin(), children.end(), isAlive); }));
        gone.push_back(pollUntil([&] { return !isAlive(program.id()); }));
    }
    report({"quitting while both flood: until both have ended",
            "ms",
            asked,
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            50});
    report({.what = "the same, until the window and the program are gone", .unit = "ms", .ours = gone});
}

}  // namespace ferrolt::bench
