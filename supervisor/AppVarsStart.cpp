#include "AppVars.h"
#include "BackgroundQueue.h"
#include "EnginePort.h"
#include "LoadProps.h"
#include "MainQueue.h"
#include "PathResolvers.h"
#include "Pipe.h"
#include "PortProbe.h"

#include <QFile>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

namespace ferrolt {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr TimeSource::Duration portTimeout = 30s;
constexpr TimeSource::Duration portProbeInterval = 250ms;

QString text(const fs::path &path) {
    return QFile::decodeName(path.c_str());
}

}  // namespace

void AppVars::startServices() {
    assertMainThread();
    // The settings form may have queued this call before the stop. During an engine restart the old engine
    // still holds the port; its end calls this function again.
    if (stop != Stop::None)
        return;
    if (!_isLumRunning) {
        const fs::path binFolder = engineBinFolder(engineFolder());
        const fs::path executable = binFolder / "Orbix";
        if (!pathExists(executable)) {
            fatalError(QStringLiteral("Orbix binary not found at ") + text(executable));
            return;
        }
        startEngine(binFolder, executable);
        if (isShuttingDown())
            return;
    }
    if (!LoadProps::isIdentityComplete() || _isQorClientRunning)
        return;
    if (pathExists(clientExecutablePath()))
        awaitEnginePort();
    else
        fatalError(QStringLiteral("Qor Client executable not found at ") + text(clientExecutablePath()));
}

void AppVars::startEngine(const fs::path &binFolder, const fs::path &executablePath) {
    Q_ASSERT(stop == Stop::None && !_isLumRunning);
    if (const auto error = launchChild(engineChild, executablePath, binFolder, {}))
        fatalError(QStringLiteral("Failed to start Lumora Core: ") +
                   QString::fromLocal8Bit(error->localizedDescription()));
}

void AppVars::startClient(const fs::path &workingFolder, const fs::path &executablePath) {
    Q_ASSERT(!isShuttingDown() && !_isQorClientRunning);
    const fs::path variableFolder = clientVarFolder();
    std::error_code ignored;  // the client reports a missing folder itself
    fs::create_directories(variableFolder, ignored);
    if (const auto error =
            launchChild(clientChild, executablePath, workingFolder, {"--vardir", variableFolder}))
        fatalError(QStringLiteral("Failed to start Qor Client: ") +
                   QString::fromLocal8Bit(error->localizedDescription()));
}

std::optional<LaunchError> AppVars::launchChild(const Child &child, const fs::path &executablePath,
                                                const fs::path &workingFolder,
                                                std::vector<std::string> arguments) {
    const auto process = std::make_shared<Process>();
    process->setExecutable(executablePath);
    process->setArguments(std::move(arguments));
    process->setWorkingFolder(workingFolder);

    Pipe pipe = Pipe::open();
    if (!pipe.readingEnd.isValid())
        return LaunchError{errno};
    process->setOutput(std::move(pipe.writingEnd));

    const std::weak_ptr<AppVars> weakSelf = weak_from_this();
    process->setTerminationHandler([weakSelf, &child](Process::Status status) {
        MainQueue::async([weakSelf, &child, status] {
            if (const auto self = weakSelf.lock())
                self->onChildTerminated(child, status);
        });
    });

    const auto deliver = [weakSelf, &child](std::vector<LogElement> elements) {
        if (const auto self = weakSelf.lock())
            self->appendLog(std::move(elements), child.log);
    };
    auto observer = OutputReader::attachReader(std::move(pipe.readingEnd), deliver);
    if (!observer)
        return LaunchError{errno};
    process->setStartHook([observer] { return observer->begin(); });
    // On the platform's thread, before the termination handler: all of the child's output is read before its
    // end is reported, and so comes before the line about it.
    process->setExitHook([observer] { observer->childHasEnded(); });
    this->*child.observer = std::move(observer);

    if (auto error = process->launch())
        return error;
    (this->*child.process).set(process);
    (this->*child.isRunning).set(true);
    // Not as a status line: it comes before all output of the child, however soon that has arrived.
    appendLog((child.name + QStringLiteral(" started.\n")).toUtf8(), child.log);
    return std::nullopt;
}

void AppVars::awaitEnginePort() {
    assertMainThread();
    if (_isQorClientRunning || isAwaitingOrbixPort || isShuttingDown())
        return;
    isAwaitingOrbixPort = true;
    probeEnginePort(readEnginePort(), seams.time->now() + portTimeout);
}

void AppVars::probeEnginePort(std::int64_t port, TimeSource::Duration deadline) {
    const std::string host = "127.0.0.1";
    const auto probe = [weakSelf = weak_from_this(), time = seams.time, host, port, deadline] {
        bool reachable = false;
        // The answer is not needed when AppVars has been destroyed.
        while (time->now() < deadline && !weakSelf.expired()) {
            reachable = probePort(host, port);
            if (reachable)
                break;
            time->sleepFor(portProbeInterval);
        }
        MainQueue::async([weakSelf, reachable, host, port] {
            if (const auto self = weakSelf.lock())
                self->onEnginePortResult(reachable, host, port, portTimeout);
        });
    };
    if (BackgroundQueue::async(QualityOfService::Default, probe))
        return;
    // The system has no thread at the moment: try again until the deadline.
    if (seams.time->now() >= deadline)
        onEnginePortResult(false, host, port, portTimeout);
    else
        seams.time->callAfter(portProbeInterval, [weakSelf = weak_from_this(), port, deadline] {
            if (const auto self = weakSelf.lock())
                self->probeEnginePort(port, deadline);
        });
}

void AppVars::onEnginePortResult(bool reachable, const std::string &host, std::int64_t port,
                                 TimeSource::Duration timeout) {
    assertMainThread();
    Q_ASSERT(isAwaitingOrbixPort);
    isAwaitingOrbixPort = false;
    if (_isQorClientRunning || isShuttingDown())
        return;
    const QString address = QString::fromStdString(host) + u':' + QString::number(port);
    QString line;
    if (reachable) {
        line =
            QStringLiteral("Lumora Core is accepting connections on %1; starting Qor Client.\n").arg(address);
    } else {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout).count();
        line = QStringLiteral("Lumora Core did not open %1 within %2s; starting Qor Client anyway.\n")
                   .arg(address, QString::number(seconds));
    }
    appendStatusLine(line, clientChild);
    startClient(clientWorkingFolder(), clientExecutablePath());
}

void AppVars::fatalError(const QString &message) {
    assertMainThread();
    setStop(Stop::FatalError);
    stopAll();
    MainQueue::async([weakSelf = weak_from_this(), message] {
        const auto self = weakSelf.lock();
        if (!self)
            return;
        self->seams.alerts->present({.style = AlertStyle::Critical,
                                     .messageText = QStringLiteral("Ferrolt Miner Launcher Error"),
                                     .informativeText = message,
                                     .button = QStringLiteral("Exit")},
                                    self->seams.terminateApplication);
    });
}

}  // namespace ferrolt
