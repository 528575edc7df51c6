// The built program looked at from outside, beside a bare Qt window: its start, its memory, and what it does
// when there is nothing to do.

#include "LauncherFigures.h"
#include "Listener.h"
#include "Measuring.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

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

/// The launcher as a package would install it, with silent children and a home of its own.
class Installation {
  public:
    Installation() {
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

    static void install(const fs::path &child) {
        fs::create_directories(child.parent_path());
        fs::copy_file(FERROLT_PRACTICE_CHILD, child);
        write(child.string() + ".behaviour", "silent\n");
    }

    QTemporaryDir folder;
    Listener port;
};

int childrenOf(pid_t parent) {
    int count = 0;
    for (const QString &name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        if (name.front().isDigit())
            count += statusOf(name.toInt(), "PPid:") == parent;
    }
    return count;
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

double switchesIn(pid_t process, std::chrono::seconds time) {
    const long before = contextSwitches(process);
    runFor(time);
    return static_cast<double>(contextSwitches(process) - before);
}

}  // namespace

void startAndIdle(const Options &options) {
    const Installation installation;
    const QProcessEnvironment fresh = installation.environment(false);
    Samples start;
    Samples bareStart;
    Samples memory;
    Samples bareMemory;
    for (int run = 0; run < options.runs; ++run) {
        const Start bare = startOf(FERROLT_BARE_WINDOW, fresh);
        const Start ours = startOf(installation.program(), fresh);
        bareStart.push_back(bare.milliseconds);
        start.push_back(ours.milliseconds);
        bareMemory.push_back(bare.megabytes);
        memory.push_back(ours.megabytes);
    }
    report({"start to first paint", "ms", start, "bare window", bareStart, Judged::Ratio, Goal::AtMost, 1.3});
    report({"resident memory after it", "MB", memory, "bare window", bareMemory, Judged::Difference,
            Goal::AtMost, 12});

    Samples idle;
    Samples bareIdle;
    const QProcessEnvironment complete = installation.environment(true);
    const Program ours(installation.program(), {}, complete);
    const Program bare(FERROLT_BARE_WINDOW, {QStringLiteral("--closed")}, complete);
    runUntil([&] { return childrenOf(ours.id()) == 2; }, "the launcher's children");
    runFor(5s);
    for (int run = 0; run < options.runs; ++run) {
        const long before = contextSwitches(bare.id());
        idle.push_back(switchesIn(ours.id(), 10s));
        bareIdle.push_back(static_cast<double>(contextSwitches(bare.id()) - before));
    }
    report({"idle, window closed: context switches in 10 s", "", idle, "bare window", bareIdle, Judged::Ours,
            Goal::AtMost, 0});
}

}  // namespace ferrolt::bench
