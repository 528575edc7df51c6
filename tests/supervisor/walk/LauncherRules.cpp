#include "LauncherRules.h"

#include <QRegularExpression>

#include <chrono>
#include <csignal>

namespace ferrolt {

using namespace std::chrono_literals;

namespace {

constexpr TimeSource::Duration portProbeInterval = 250ms;

}  // namespace

QString LauncherRules::nameOf(Kind kind) {
    return kind == Engine ? QStringLiteral("Lumora Core") : QStringLiteral("Qor Client");
}

void LauncherRules::complain(const QString &what) {
    if (!complaint)
        complaint = what;
}

void LauncherRules::startServices() {
    if (stop != Stop::None)
        return;
    if (!isRunning[Engine]) {
        if (program[Engine] == Program::Missing)
            return fatalError(QStringLiteral("Orbix binary not found at "));
        if (!launchNow(Engine))
            return;
    }
    if (!isIdentityComplete || isRunning[Client])
        return;
    if (program[Client] == Program::Missing)
        return fatalError(QStringLiteral("Qor Client executable not found at "));
    awaitPort();
}

bool LauncherRules::launchNow(Kind kind) {
    if (!canBeLaunched(program[kind])) {
        fatalError(QStringLiteral("Failed to start ") + nameOf(kind) + QStringLiteral(": "));
        return false;
    }
    isRunning[kind] = true;
    ++toLaunch[kind];
    ++toStart[kind];
    return true;
}

void LauncherRules::awaitPort() {
    if (isAwaitingPort)
        return;
    isAwaitingPort = true;
    awaitedPort = port;
    wasAwaitedPortOpen = isPortOpen;
    nap.reset();
    deadline = now + 30s;
}

void LauncherRules::openPort() {
    isPortOpen = true;
    if (isAwaitingPort && awaitedPort == port)
        wasAwaitedPortOpen = true;
}

void LauncherRules::movePort(std::int64_t next) {
    port = next;
    isPortOpen = false;
    if (nap)
        nap->isPortOpen = false;
}

bool LauncherRules::mustPortWaitHaveEnded() const {
    // Only the step of time that wakes the wait counts: a later one may fall into its next probe, which is
    // followed by another nap, whatever the time is then.
    return nap && now >= nap->end && (*nap->firstStep >= deadline || nap->isPortOpen);
}

void LauncherRules::settled() {
    if (isAwaitingPort && !isFinal() && mustPortWaitHaveEnded())
        complain(QStringLiteral("the wait for the port goes on"));
    nap.reset();
    if (isAwaitingPort && !isFinal())
        nap = Nap{.end = now + portProbeInterval,
                  .firstStep = std::nullopt,
                  .isPortOpen = wasAwaitedPortOpen && isPortOpen && awaitedPort == port};
    installationsAsked = 0;
    successes = 0;
    if (isRestartDue)
        complain(QStringLiteral("the engine was not restarted after an installation"));
}

void LauncherRules::portAnswered(const QString &line, bool isReachable) {
    if (!isAwaitingPort)
        return complain(QStringLiteral("nobody waited for the port"));
    isAwaitingPort = false;
    if (isFinal())
        return complain(QStringLiteral("the port's wait was answered after the stop"));
    if (isRunning[Client])
        return complain(QStringLiteral("the client runs already"));
    if (!line.contains(QStringLiteral(" 127.0.0.1:%1").arg(awaitedPort)))
        complain(QStringLiteral("it waited for port %1").arg(awaitedPort));
    if (isReachable ? !wasAwaitedPortOpen : now < deadline)
        complain(QStringLiteral("the wait for the port ended with a wrong result"));
    launchNow(Client);
}

void LauncherRules::reloadEngine() {
    if (stop != Stop::None || !isRunning[Engine])
        return;
    ++restartLines;
    beginRestart();
}

void LauncherRules::beginRestart() {
    stop = Stop::EngineRestart;
    isRunning[Engine] = false;
    isRestartDue = false;
    ++restarts;
    if (Child *engine = latest(Engine)) {
        engine->isAsked = true;
        engine->isReplaced = true;
        engine->mayBeTold = !engine->ownEnds.empty();
    }
}

void LauncherRules::restartEnded() {
    if (stop != Stop::EngineRestart)
        return complain(QStringLiteral("no restart was under way"));
    stop = Stop::None;
    startServices();
}

void LauncherRules::stopAll() {
    if (!isFinal())
        stopForGood(Stop::Quit);
}

void LauncherRules::stopForGood(Stop cause) {
    stop = cause;
    isRestartDue = false;
    for (const Kind kind : kinds) {
        if (Child *child = latest(kind); child != nullptr && isRunning[kind])
            child->isAsked = true;
        isRunning[kind] = false;
    }
}

void LauncherRules::fatalError(const QString &beginning) {
    stopForGood(Stop::FatalError);
    alertsToCome.push_back({AlertStyle::Critical, QStringLiteral("Ferrolt Miner Launcher Error"), beginning,
                            QStringLiteral("Exit")});
}

void LauncherRules::childEnded(Kind kind, int status) {
    Child *child = latest(kind);
    if (child == nullptr || child->isReported || !child->mayBeTold)
        return complain(QStringLiteral("no end was to be told"));
    child->isReported = true;
    ++ends;
    // A child that was asked and had ended by itself before may be told of either way.
    const bool wasAsked = child->isAsked && !child->isReplaced && !child->isDeaf && status == SIGTERM;
    if (!wasAsked && child->ownEnds.count(status) == 0)
        complain(QStringLiteral("a child ended with status %1, and nothing had ended it so").arg(status));
    if (isFinal())
        return;
    stopForGood(Stop::ChildEnded);
    alertsToCome.push_back(
        {AlertStyle::Warning, QStringLiteral("Ferrolt Miner Launcher Stopped"),
         nameOf(kind) +
             QStringLiteral(" stopped (exit status %1).\n\nThe Ferrolt Miner Launcher is").arg(status),
         QStringLiteral("OK")});
}

void LauncherRules::advance(TimeSource::Duration by) {
    const auto end = now + by;
    while (timerAt && *timerAt <= end) {
        const auto tick = *timerAt;
        step(tick);
        timerAt.reset();
        if (isCheckRunning || stop != Stop::None)
            timerAt = tick + interval;
        else
            isCheckRunning = true;
    }
    step(end);
}

void LauncherRules::step(TimeSource::Duration next) {
    now = next;
    if (nap && !nap->firstStep)
        nap->firstStep = next;
}

void LauncherRules::checkEnded(std::optional<std::int64_t> intervalOfManifest) {
    if (!isCheckRunning)
        return complain(QStringLiteral("no update check was running"));
    isCheckRunning = false;
    if (intervalOfManifest && *intervalOfManifest >= 1)
        interval = std::chrono::hours(*intervalOfManifest);
    ++installationsAsked;
    startTimer();
}

void LauncherRules::launched(Kind kind, pid_t id) {
    ++launches;
    if (toLaunch[kind] == 0 && kind == Engine && stop == Stop::EngineRestart)
        restartEnded();
    if (toLaunch[kind] == 0)
        complain(nameOf(kind) + QStringLiteral(" was launched, and nobody had asked for it"));
    else
        --toLaunch[kind];
    Child child;
    child.id = id;
    child.isAsked = !isRunning[kind];  // stopped within the call that launched it
    if (program[kind] == Program::EndsAtOnce)
        child.ownEnds.insert(statusOfEndsAtOnce);
    children[kind].push_back(child);
}

void LauncherRules::line(Kind log, const QString &line) {
    const QString name = nameOf(log);
    if (line == name + QStringLiteral(" started.\n")) {
        if (toStart[log]-- <= 0)
            complain(QStringLiteral("a start was told once too often"));
        return;
    }
    static const QRegularExpression terminated(QStringLiteral(" terminated with status (-?\\d+)\n$"));
    if (const auto match = terminated.match(line); match.hasMatch()) {
        if (!line.startsWith(name))
            complain(QStringLiteral("it is in the other child's log"));
        return childEnded(log, match.captured(1).toInt());
    }
    if (log == Client) {
        const bool isReachable = line.startsWith(QStringLiteral("Lumora Core is accepting connections on "));
        if (isReachable || line.startsWith(QStringLiteral("Lumora Core did not open ")))
            portAnswered(line, isReachable);
        return;
    }
    if (line.startsWith(QStringLiteral("LibreOffice installed; restarting Lumora Core"))) {
        if (restartLines > 0) {
            --restartLines;
        } else if (stop != Stop::None || !isRunning[Engine] || successes-- <= 0) {
            complain(QStringLiteral("nothing was to be restarted"));
        } else {
            beginRestart();
        }
    } else if (line.startsWith(QStringLiteral("LibreOffice install skipped: "))) {
        ++skippedInstallations;
        if (isFinal())
            complain(QStringLiteral("an installation was told of after the stop"));
        if (installationsAsked-- <= 0)
            complain(QStringLiteral("no installation was asked for"));
    } else if (line.endsWith(QStringLiteral(" installed successfully.\n"))) {
        ++successes;
        isRestartDue = stop == Stop::None && isRunning[Engine];
    }
}

void LauncherRules::alert(const Alert &alert) {
    if (alertsToCome.empty())
        return complain(QStringLiteral("no alert was to be shown"));
    const Alert due = alertsToCome.front();
    alertsToCome.pop_front();
    if (alert.style != due.style || alert.messageText != due.messageText || alert.button != due.button ||
        !alert.informativeText.startsWith(due.informativeText))
        complain(QStringLiteral("the alert was to say \"%1\"").arg(due.informativeText));
}

}  // namespace ferrolt
