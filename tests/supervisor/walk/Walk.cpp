#include "Walk.h"

#include "LibreOfficeInstaller.h"
#include "LoadProps.h"
#include "MainQueue.h"
#include "OwnChildren.h"
#include "PathResolvers.h"
#include "Updater.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <csignal>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>

namespace ferrolt {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr auto walkPatience = 60s;

/// What the launcher writes into a log, as opposed to its children.
bool isOfTheLauncher(const QByteArray &element) {
    return element.startsWith("L") || element.startsWith("Qor Client ") || element.startsWith("Fetching ") ||
           element.startsWith("Downloading ") || element.startsWith("Verifying ") ||
           element.startsWith("Checksum ") || element.startsWith("Mounting ") ||
           element.startsWith("Installing ");
}

QString secondsOf(TimeSource::Duration duration) {
    return QString::number(std::chrono::duration<double>(duration).count()) + QStringLiteral(" s");
}

/// Probes that nobody accepts would fill the queue of the listening socket.
void acceptAll(const ClosedPort &port) {
    fcntl(port.socket.get(), F_SETFL, O_NONBLOCK);
    for (;;) {
        const FileDescriptor probe(accept(port.socket.get(), nullptr, nullptr));
        if (!probe.isValid())
            return;
    }
}

}  // namespace

Walk::Walk(std::uint64_t seed, WalkDownloads &downloads, const ChildPrograms &programs)
    : dice(seed), downloads(downloads), programs(programs), temporary(tree.path() / "tmp") {
    fs::create_directories(temporary);
    fs::create_directories(tree.engine().parent_path());
    fs::create_directories(tree.client().parent_path());
    fs::create_directories(tree.path() / "root/Applications");
    settings = std::make_shared<SettingsStore>(tree.path() / "settings.json");
    savedEntity = QStringLiteral("Ada Lovelace");
    tree.writeIdentity("ada@example.org", savedEntity.toStdString());
    for (const Kind kind : LauncherRules::kinds)
        programs.install(tree, kind, LauncherRules::Program::Good);
    downloads.publish({});
    movePort();
    beginLife();
}

Walk::~Walk() {
    // After a violation anything may still run.
    for (const OwnChild &child : ownChildren())
        kill(child.id, SIGKILL);
    form.reset();
    if (vars)
        vars->stopAll();
    vars.reset();
    waitUntil(
        [this] {
            time->advance(1s);  // each time: a port wait may begin to sleep only now, and then looks for vars
            return ownChildren().empty() && !LibreOfficeInstaller::isInstalling() &&
                   threadsNamed("background") == 0;
        },
        walkPatience);
}

std::optional<QString> Walk::run(int events) {
    for (int i = 0; i < events && !rules.complaint; ++i) {
        ++figures.events;
        const WalkEvent event = dice.event();
        const bool isAwaited = dice.percent(65);
        const bool wasCalm = isCalm;
        note(QString::number(i + 1));
        perform(event);
        isCalm = false;
        if (event != WalkEvent::Install || !wasCalm || !isAwaited)
            expected.reset();
        check();
        if (isAwaited && !rules.complaint)
            settle();
    }
    if (!rules.complaint) {
        note(QStringLiteral("end"));
        endLife(true);
    }
    return rules.complaint;
}

void Walk::beginLife() {
    ++figures.lives;
    time = std::make_shared<ManualTime>();
    timeOfForm = std::make_shared<ManualTime>();
    alerts = std::make_shared<RecordingAlerts>();
    Seams seams(alerts);
    seams.paths = tree.roots();
    seams.time = time;
    seams.settings = settings;
    seams.temporaryFolder = temporary;
    seams.terminateApplication = [this] { isAskedToEnd = true; };
    downloads.connectTo(seams);

    LauncherRules next;
    next.program = rules.program;
    next.isIdentityComplete = rules.isIdentityComplete;
    next.port = rules.port;
    next.isPortOpen = rules.isPortOpen;
    next.complaint = rules.complaint;
    rules = std::move(next);
    nextElement = {};
    seenProcess = {};
    alertsSeen = alertsAnswered = 0;
    isAskedToEnd = false;

    vars = std::make_shared<AppVars>(std::move(seams));
    QObject::connect(vars.get(), &AppVars::objectWillChange, vars.get(), [this] { look(); });
    if (dice.percent(20)) {
        vars->updater->runInitialCheck();
        if (!pumpUntil([&] { return vars->updater->_isUpdateCheckComplete.get(); }))
            rules.complain(QStringLiteral("the first check did not end"));
    }
    reopen();
    for (const Kind kind : LauncherRules::kinds)
        if (dice.percent(80))
            setProgram(kind, LauncherRules::Program::Good);
    startServices();
    install();
    rules.startTimer();
    vars->scheduleUpdateTimer();
    expected.reset();
    check();
}

void Walk::endLife(bool isAwaited) {
    rules.stopAll();
    vars->stopAll();
    check();
    if (isAwaited) {
        endDeafChildren();
        settle();
        for (const Kind kind : LauncherRules::kinds) {
            for (const LauncherRules::Child &child : rules.children[kind]) {
                if (!child.isReported && !child.isReplaced)
                    rules.complain(QStringLiteral("the end of a child was not told"));
            }
        }
    }
    figures.launches += rules.launches;
    figures.ends += rules.ends;
    figures.restarts += rules.restarts;
    figures.alerts += static_cast<int>(alerts->shown.size());
    form.reset();
    vars.reset();
    endPortWait();
    const bool isOver = waitUntil(
        [&] {
            for (const OwnChild &child : ownChildren())  // what is left ignores SIGTERM, or will end anyway
                if (!isAwaited)
                    kill(child.id, SIGKILL);
            return ownChildren().empty() && !LibreOfficeInstaller::isInstalling() &&
                   savesAnswered == savesAsked;
        },
        walkPatience);
    if (!isOver)
        rules.complain(QStringLiteral("something is left of a life"));
    if (!fs::is_empty(temporary))
        rules.complain(QStringLiteral("something is left in the temporary folder"));
}

void Walk::endPortWait() {
    // A probe that is under way is followed by one more sleep, which only this life's time can end.
    waitUntil([this] { return time->sleeping() > 0 || threadsNamed("background") == 0; }, walkPatience);
    time->advance(1s);
    if (!waitUntil([] { return threadsNamed("background") == 0; }, walkPatience))
        rules.complain(QStringLiteral("the wait for the port goes on after the launcher's end"));
}

void Walk::perform(WalkEvent event) {
    rules.now = time->now();
    switch (event) {
        case WalkEvent::Start:
            return startServices();
        case WalkEvent::Save:
            return save();
        case WalkEvent::ChildEnds:
            return endChild();
        case WalkEvent::ChildGrowsDeaf:
            return deafenChild();
        case WalkEvent::DeafEnd:
            return endDeafChildren();
        case WalkEvent::ProgramChanges:
            return changeProgram();
        case WalkEvent::PortOpens:
            return openPort();
        case WalkEvent::PortMoves:
            return movePort();
        case WalkEvent::TimeMoves:
            return moveTime();
        case WalkEvent::Install:
            return install();
        case WalkEvent::ManifestChanges:
            return changeManifest();
        case WalkEvent::Reload:
            return reload();
        case WalkEvent::Reopen:
            return reopen();
        case WalkEvent::AlertIsAnswered:
            return answerAlert();
        case WalkEvent::Quit:
            return quit();
        case WalkEvent::Relaunch: {
            const bool isAwaited = dice.percent(60);
            note(QStringLiteral("the launcher ends ") +
                 (isAwaited ? QStringLiteral("in peace") : QStringLiteral("at once")) +
                 QStringLiteral(" and is started again"));
            endLife(isAwaited);
            if (!rules.complaint)
                beginLife();
            return;
        }
    }
}

void Walk::startServices() {
    note(QStringLiteral("services are started"));
    rules.startServices();
    vars->startServices();
}

void Walk::save() {
    const bool isComplete = !dice.percent(15);
    savedEntity = isComplete ? QStringLiteral("Ada %1").arg(dice.below(1000)) : QString();
    note(QStringLiteral("the form is saved with the name \"%1\"").arg(savedEntity));
    form->_email = QStringLiteral("ada@example.org");
    form->_entity = savedEntity;
    ++savesAsked;
    form->saveAndApply();
    // A slow disk may still write; from here on everybody reads what was saved.
    if (!waitWithoutEvents([&] { return LoadProps::MinerEntityName() == savedEntity; }, walkPatience))
        rules.complain(QStringLiteral("the form was not saved"));
    rules.isIdentityComplete = isComplete;
}

void Walk::endChild() {
    const Kind kind = dice.percent(50) ? LauncherRules::Engine : LauncherRules::Client;
    const int signal = dice.oneOf(std::array{SIGKILL, SIGUSR1, SIGTERM});
    note(QStringLiteral("%1 gets signal %2 from outside").arg(LauncherRules::nameOf(kind)).arg(signal));
    LauncherRules::Child *child = rules.latest(kind);
    if (!rules.isRunning[kind] || child == nullptr || (signal == SIGTERM && child->isDeaf))
        return;
    const auto children = ownChildren();
    if (std::none_of(children.begin(), children.end(),
                     [&](const auto &each) { return each.id == child->id; }))
        return;
    child->ownEnds.insert(signal);  // before it has said "ready" it dies of SIGUSR1
    if (signal == SIGUSR1)
        child->ownEnds.insert(ChildPrograms::statusAtSignal);
    kill(child->id, signal);
}

bool Walk::hasSaid(Kind kind, const char *word) {
    const pid_t id = rules.latest(kind) != nullptr ? rules.latest(kind)->id : 0;
    const auto isUp = [&] {
        return rules.isRunning[kind] && rules.latest(kind)->id == id && !rules.latest(kind)->isEnding();
    };
    if (!pumpUntil([&] { return !isUp() || said[kind].contains(word); }))
        rules.complain(QStringLiteral("a child does not say \"%1\"").arg(QLatin1String(word)));
    return isUp() && !rules.complaint;
}

void Walk::deafenChild() {
    const Kind kind = dice.percent(60) ? LauncherRules::Engine : LauncherRules::Client;
    note(LauncherRules::nameOf(kind) + QStringLiteral(" ignores SIGTERM from now on"));
    if (!hasSaid(kind, "ready") || rules.latest(kind)->isDeaf)
        return;
    const std::size_t index = rules.children[kind].size() - 1;
    const pid_t id = rules.children[kind][index].id;
    kill(id, SIGUSR2);
    if (hasSaid(kind, "deaf")) {
        rules.children[kind][index].isDeaf = true;
    } else if (isAlive(id)) {  // asked to end at the same moment: nobody knows whether it has heard it
        rules.children[kind][index].ownEnds.insert(SIGKILL);
        kill(id, SIGKILL);
    }
}

void Walk::endDeafChildren() {
    note(QStringLiteral("those that ignore SIGTERM are killed"));
    for (const OwnChild &own : ownChildren()) {
        for (const Kind kind : LauncherRules::kinds) {
            for (LauncherRules::Child &child : rules.children[kind]) {
                if (child.id != own.id || !child.isAsked || !child.isDeaf)
                    continue;
                child.ownEnds.insert(SIGKILL);
                kill(child.id, SIGKILL);
            }
        }
    }
}

void Walk::changeProgram() {
    using Program = LauncherRules::Program;
    const Kind kind = dice.percent(50) ? LauncherRules::Engine : LauncherRules::Client;
    const Program program =
        dice.oneOf(std::array{Program::Good, Program::Good, Program::Good, Program::EndsAtOnce,
                              Program::Missing, Program::NotExecutable});
    static constexpr std::array texts{"good", "one that ends at once", "missing", "not executable"};
    note(QStringLiteral("the program of %1 is %2")
             .arg(LauncherRules::nameOf(kind), QLatin1String(texts.at(static_cast<std::size_t>(program)))));
    hasSaid(kind, "ready");  // a child that has only just begun still looks for its own file
    setProgram(kind, program);
}

void Walk::setProgram(Kind kind, LauncherRules::Program program) {
    if (rules.program[kind] != program)
        programs.install(tree, kind, program);
    rules.program[kind] = program;
}

void Walk::openPort() {
    note(QStringLiteral("the engine's port opens"));
    if (rules.isPortOpen)
        return;
    rules.openPort();
    listen(ports.back()->socket.get(), 64);
}

void Walk::movePort() {
    note(QStringLiteral("the engine's port is another one, and closed"));
    // The old ones are kept until the end of the walk: a wait may still probe them, and no other program is
    // to listen there.
    if (!ports.empty())
        shutdown(ports.back()->socket.get(), SHUT_RDWR);
    ports.push_back(std::make_unique<ClosedPort>());
    rules.movePort(ports.back()->port);
    tree.writeEnginePort(std::to_string(rules.port));
}

void Walk::moveTime() {
    static constexpr std::array<std::chrono::milliseconds, 10> durations{100ms, 250ms, 250ms, 1s, 5s,
                                                                         31s,   31s,   1h,    1h, 3h};
    const auto duration = dice.oneOf(durations);
    note(QStringLiteral("time moves by ") + secondsOf(duration));
    const bool wasRunning = rules.isCheckRunning;
    rules.advance(duration);
    figures.checks += rules.isCheckRunning && !wasRunning;
    isMovingTime = true;
    time->advance(duration);
    timeOfForm->advance(duration);
    isMovingTime = false;
}

void Walk::install() {
    const auto outcome = dice.oneOf(WalkDownloads::outcomes);
    const bool isCheap = dice.percent(40);  // most time goes into the transfers
    downloads.outcome = isCheap ? WalkDownloads::Outcome::ToolIsMissing : outcome;
    note(QStringLiteral("an installation is asked for: ") +
         QLatin1String(WalkDownloads::nameOf(downloads.outcome)));
    const QString wanted = vars->updater->_libreOfficeVersion.get().value_or(QStringLiteral("26.2.4"));
    const auto recorded = settings->text(LibreOfficeInstaller::versionKey);
    const bool isThere = fs::exists(tree.path() / "root/Applications/LibreOffice.app");
    expected = Expected{rules.restarts, rules.skippedInstallations};
    if (!rules.isFinal() && !(isThere && (!recorded || *recorded == wanted))) {
        if (downloads.outcome == WalkDownloads::Outcome::Installed)
            expected->restarts +=
                rules.stop == LauncherRules::Stop::None && rules.isRunning[LauncherRules::Engine];
        else
            ++expected->skipped;
    }
    rules.askForInstallation();
    vars->ensureLibreOffice();
}

void Walk::checkInstallation() {
    if (!expected)
        return;
    if (rules.restarts != expected->restarts || rules.skippedInstallations != expected->skipped)
        rules.complain(
            QStringLiteral("the installation was to bring %1 restarts and %2 failures in all, not %3 and %4")
                .arg(expected->restarts)
                .arg(expected->skipped)
                .arg(rules.restarts)
                .arg(rules.skippedInstallations));
    expected.reset();
}

void Walk::changeManifest() {
    WalkDownloads::Manifest manifest;
    manifest.isOne = !dice.percent(15);
    if (dice.percent(70))
        manifest.interval = dice.oneOf(std::array<std::int64_t, 6>{-3, 0, 1, 1, 2, 3});
    if (dice.percent(80))
        manifest.version = dice.oneOf(WalkDownloads::versions);
    note(QStringLiteral("the manifest names version %1 and interval %2%3")
             .arg(QString::fromLatin1(manifest.version.value_or("none")))
             .arg(manifest.interval.value_or(0))
             .arg(manifest.isOne ? QString() : QStringLiteral(", and is none")));
    downloads.publish(manifest);
}

void Walk::reload() {
    note(QStringLiteral("the engine is restarted"));
    rules.reloadEngine();
    vars->reloadEngine();
}

void Walk::reopen() {
    note(QStringLiteral("the window is shown anew"));
    form = std::make_unique<LauncherPrefsModel>(
        [this, weakVars = std::weak_ptr(vars)] {
            ++savesAnswered;
            if (weakVars.expired())
                return;
            rules.now = time->now();
            look();
            rules.startServices();
            weakVars.lock()->startServices();
        },
        timeOfForm);
    form->load();
    if (form->_entity != savedEntity)
        rules.complain(QStringLiteral("the form does not show what was saved"));
}

void Walk::answerAlert() {
    note(QStringLiteral("an alert is answered"));
    if (alertsAnswered == alerts->shown.size())
        return;
    const bool isFatal = alerts->shown.at(alertsAnswered).style == AlertStyle::Critical;
    isAskedToEnd = false;
    alerts->dismiss(alertsAnswered++);
    if (isAskedToEnd != isFatal)
        rules.complain(QStringLiteral("only the fatal alert ends the program"));
    if (isAskedToEnd)
        quit();
}

void Walk::quit() {
    note(QStringLiteral("the user quits"));
    rules.stopAll();
    vars->stopAll();
}

template <class Condition>
bool Walk::pumpUntil(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + walkPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        pump();
        if (rules.complaint)
            return true;
        if (!condition())
            std::this_thread::sleep_for(100us);
    }
    return true;
}

void Walk::pump() {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    check();
}

void Walk::lookAtProcesses() {
    const std::array<const Process *, 2> processes{vars->_lump.get().get(), vars->_qorcp.get().get()};
    for (const Kind kind : LauncherRules::kinds) {
        if (processes[kind] == nullptr) {
            seenProcess[kind] = nullptr;
        } else if (processes[kind] != seenProcess[kind]) {
            seenProcess[kind] = processes[kind];
            said[kind].clear();
            note(QStringLiteral("    launched: ") + LauncherRules::nameOf(kind));
            rules.launched(kind, processes[kind]->processIdentifier());
        }
    }
    std::array<int, 2> living{};
    for (const OwnChild &child : ownChildren()) {
        if (!child.program.empty())
            ++living[child.program.starts_with("Orbix") ? LauncherRules::Engine : LauncherRules::Client];
    }
    for (const Kind kind : LauncherRules::kinds) {
        if (living[kind] > 1)
            rules.complain(
                QStringLiteral("%1 runs %2 times").arg(LauncherRules::nameOf(kind)).arg(living[kind]));
    }
}

void Walk::lookAtLog(Kind kind) {
    const LogBuffer &log = kind == LauncherRules::Engine ? vars->lumoraLog() : vars->qorClientLog();
    for (; nextElement[kind] < log.endSequence(); ++nextElement[kind]) {
        const LogElement &element = log.bySequence(nextElement[kind]);
        note(QStringLiteral("    log %1: ").arg(int(kind)) + QString::fromUtf8(element).trimmed());
        if (isOfTheLauncher(element))
            rules.line(kind, QString::fromUtf8(element));
        else
            said[kind] += element;
    }
}

void Walk::look() {
    if (rules.isCheckRunning && !isMovingTime && time->pending() == 1)
        rules.checkEnded(downloads.intervalAnswered());
    // A restart that could not launch the engine says nothing, and a child's end may be told of right after
    // it.
    const bool isLogNew = nextElement[LauncherRules::Engine] < vars->lumoraLog().endSequence() ||
                          nextElement[LauncherRules::Client] < vars->qorClientLog().endSequence();
    if (!isLogNew && rules.stop == LauncherRules::Stop::EngineRestart && !vars->isOrbixReloadInProgress())
        rules.restartEnded();
    lookAtProcesses();
    for (const Kind kind : LauncherRules::kinds)
        lookAtLog(kind);
}

void Walk::check() {
    if (!vars || rules.complaint)
        return;
    using Stop = LauncherRules::Stop;
    look();
    // A restart that could not launch the engine has neither launched nor logged anything.
    if (rules.stop == Stop::EngineRestart && !vars->isOrbixReloadInProgress())
        rules.restartEnded();
    for (; alertsSeen < alerts->shown.size(); ++alertsSeen) {
        note(QStringLiteral("    alert: ") + alerts->shown[alertsSeen].informativeText.section(u'\n', 0, 0));
        rules.alert(alerts->shown[alertsSeen]);
    }
    const auto must = [&](bool holds, const char *what) {
        if (!holds)
            rules.complain(QLatin1String(what));
    };
    must(vars->_isLumRunning == rules.isRunning[LauncherRules::Engine], "the engine's flag is wrong");
    must(vars->_isQorClientRunning == rules.isRunning[LauncherRules::Client], "the client's flag is wrong");
    must((vars->_lump.get() != nullptr) == vars->_isLumRunning, "the engine's flag and process disagree");
    must((vars->_qorcp.get() != nullptr) == vars->_isQorClientRunning,
         "the client's flag and process disagree");
    must(vars->_isPermanentlyStopped == (rules.stop == Stop::ChildEnded), "the permanent stop is wrong");
    must(vars->isOrbixReloadInProgress() == (rules.stop == Stop::EngineRestart),
         "the restart's flag is wrong");
    must(alerts->shown.size() <= 1, "there was more than one alert in a life");
    must(std::none_of(rules.alertsToCome.begin(), rules.alertsToCome.end(),
                      [](const Alert &alert) { return alert.style == AlertStyle::Warning; }),
         "a child's end was not told to the user");
    if (rules.timerAt) {
        must(time->pending() == 1, "the update timer is not armed");
        must(time->nextDelay() == *rules.timerAt - time->now(), "the update timer is armed for another time");
    } else {
        must(time->pending() == 0, "a timer is armed during a check");
    }
    const auto children = ownChildren();
    for (const Kind kind : LauncherRules::kinds) {
        const LauncherRules::Child *child = rules.latest(kind);
        if (!rules.isRunning[kind] || child->isEnding())
            continue;
        must(std::any_of(children.begin(), children.end(),
                         [&](const OwnChild &own) { return own.id == child->id && !own.program.empty(); }),
             "a child that is said to run does not");
    }
}

bool Walk::isSettled() {
    if (rules.complaint)
        return true;
    if (savesAnswered != savesAsked || rules.isCheckRunning || LibreOfficeInstaller::isInstalling() ||
        !rules.alertsToCome.empty())
        return false;
    const auto own = ownChildren();
    for (const Kind kind : LauncherRules::kinds) {
        for (const LauncherRules::Child &child : rules.children[kind]) {
            if (!child.isEnding())
                continue;
            const bool isGone = std::none_of(own.begin(), own.end(),
                                             [&](const OwnChild &each) { return each.id == child.id; });
            if (!isGone || !(child.isReported || child.isReplaced))
                return false;
        }
    }
    if (rules.stop == LauncherRules::Stop::EngineRestart && rules.latest(LauncherRules::Engine)->isEnding())
        return false;
    if (rules.isAwaitingPort && !rules.isFinal() && time->sleeping() == 0)
        return false;
    return true;
}

void Walk::settle() {
    for (bool isOver = false; !isOver && !rules.complaint;) {
        if (!pumpUntil([&] { return isSettled(); })) {
            rules.complain(QStringLiteral("the launcher does not come to rest"));
            break;
        }
        bool hasTurned = false;
        MainQueue::async([&] { hasTurned = true; });
        pumpUntil([&] { return hasTurned; });
        isOver = isSettled();
    }
    if (rules.complaint) {
        QCoreApplication::processEvents();  // the turn's own work refers to this function's variables
        return;
    }
    rules.settled();
    checkInstallation();
    for (const OwnChild &own : ownChildren()) {
        bool isKnown = false;
        for (const Kind kind : LauncherRules::kinds) {
            for (const LauncherRules::Child &child : rules.children[kind])
                isKnown = isKnown || (child.id == own.id && !child.isEnding() && !own.program.empty());
        }
        if (!isKnown)
            rules.complain(QStringLiteral("process %1 was not reaped").arg(own.id));
    }
    acceptAll(*ports.back());
    isCalm = true;
}

}  // namespace ferrolt
