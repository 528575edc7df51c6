#include "KillTrial.h"

#include "FolderWatch.h"
#include "TreeSnapshot.h"
#include "Waiting.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <functional>
#include <set>
#include <stdexcept>
#include <thread>

namespace ferrolt {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Installed = KillWorld::Installed;

namespace {

/// For what has to come; nothing takes that long when all is well.
constexpr std::chrono::milliseconds patience = 120s;
/// Within which the children of a killed launcher have to be gone.
constexpr auto childrenTimeout = 1000ms;

const std::string stagingPrefix = "ferrolt-libreoffice-";
const std::string savePrefix = ".ferrolt-save-";

void require(bool holds, const std::string &what) {
    if (!holds)
        throw std::runtime_error(what);
}

/// Turns the event loop until the condition holds, and throws when it does not in time. Counts only time in
/// which this process was given the processor as well.
template <class Condition>
void await(Condition condition, const std::function<std::string()> &failure) {
    auto last = Clock::now();
    for (Clock::duration counted{}; !condition();) {
        QTest::qWait(10);
        const auto now = Clock::now();
        counted += std::min<Clock::duration>(now - last, 500ms);
        last = now;
        require(counted < patience, failure());
    }
}
template <class Condition>
void await(Condition condition, const std::string &failure) {
    await(condition, [&] { return failure; });
}

QByteArray identity(const QByteArray &entity) {
    return "MinerEmailAddress       = ada@example.org\nMinerEntityName         = " + entity +
           "\nMinerDisplayName        = \n# a comment\n";
}

QByteArray storedVersion(const std::string &version) {
    return "{\n    \"InstalledLibreOfficeVersion\": \"" + QByteArray::fromStdString(version) + "\"\n}\n";
}

const QByteArray &currentSettings() {
    static const QByteArray text = storedVersion(UpdateServers::version.toStdString());
    return text;
}

std::string listOf(const std::vector<Descendant> &processes) {
    std::string list;
    for (const Descendant &process : processes)
        list += "\n    " + std::to_string(process.id) + ' ' + process.command;
    return list;
}

bool isEmptyFolder(const fs::path &folder) {
    std::error_code failure;
    return fs::is_empty(folder, failure) && !failure;
}

}  // namespace

std::string KillTrial::nameOf(Phase phase) {
    static constexpr std::array names{"start", "save", "download", "unpack", "install", "reload", "flood"};
    return names.at(static_cast<std::size_t>(phase));
}

KillTrial::KillTrial(KillWorld &world, Phase phase, std::uint64_t seed)
    : world(world), phase(phase), generator(seed) {}

KillTrial::~KillTrial() {
    launcher.reset();
    for (const Descendant &left : world.descendants.living(0))
        kill(left.id, SIGKILL);
    waitWithoutEvents([&] { return world.descendants.living(0).empty(); });
}

void KillTrial::passUpTo(Milliseconds below) {
    std::this_thread::sleep_for(Milliseconds(random(below.count())));
}

void KillTrial::passAMoment() {
    std::this_thread::sleep_for(Milliseconds(std::pow(10, random(3) - 2)));
}

fs::path KillTrial::properties() const {
    return home() / ".qor" / FERROLT_NODE_SERVER_HOST / "MinerClient.properties";
}

fs::path KillTrial::settings() const {
    return home() / ".config/" FERROLT_REVERSE_DOMAIN ".json";
}

void KillTrial::prepare() {
    std::string engine = "wait";
    if (phase == Phase::Flood)
        engine = "flood";
    else if (phase == Phase::Reload && oneOfTwo())
        engine = "slow-term 150";
    tree = std::make_unique<InstalledTree>(engine, phase == Phase::Flood ? "flood" : "wait");
    tree->writeEnginePort(std::to_string(enginePort.port));
    fs::create_directory(temporary());
    fs::create_directories(settings().parent_path());

    oldProperties = identity(phase == Phase::Save ? "" : "Ada Lovelace");
    newProperties = phase == Phase::Save ? identity("Grace") : oldProperties;
    writeFile(properties(), oldProperties);

    switch (phase) {
        case Phase::Save:
        case Phase::Flood:
            before = Installed::Current;
            break;
        case Phase::Start:
            before = static_cast<Installed>(generator() % 3);
            break;
        case Phase::Download:
        case Phase::Unpack:
        case Phase::Install:
        case Phase::Reload:
            before = static_cast<Installed>(generator() % 2);
            break;
    }
    world.install(before);
    if (before == Installed::Old)
        oldSettings = storedVersion(KillWorld::oldVersion);
    else if (before == Installed::Current)
        oldSettings = currentSettings();
    if (!oldSettings.isEmpty())
        writeFile(settings(), oldSettings);
    fs::remove(KillWorld::promptFolder / "asked");
    world.desktop.setVariable("TMPDIR", QString::fromStdString(temporary().string()));
}

void KillTrial::start() {
    launcher = std::make_unique<Launcher>(world.desktop, tree->executable(), home());
    require(launcher->isRunning(), "the launcher does not start");
}

void KillTrial::awaitChildren() const {
    await([&] { return launcher->child("Orbix") && launcher->child("qorclient"); },
          [&] {
              return std::string("the children do not run; the launcher ") +
                     (launcher->isRunning() ? "does:" : "has ended:") + listOf(world.descendants.living(0));
          });
}

void KillTrial::openWindow() const {
    require(launcher->startAgain() == 0, "a second start is not taken over");
    await([&] { return launcher->visibleWindows().contains("Ferrolt Miner Launcher"); },
          "the window does not open");
}

void KillTrial::bringIntoPhase() {
    switch (phase) {
        case Phase::Start:
            start();
            passUpTo(world.start * 1.3);
            return;
        case Phase::Save:
            bringIntoSave();
            return;
        case Phase::Download: {
            const int requests = world.imageRequests;
            start();
            await([&] { return world.imageRequests > requests; }, "nothing is downloaded");
            passUpTo(350ms);
            return;
        }
        case Phase::Unpack:
            startToMountPoint();
            passUpTo(world.unpack * 1.2);
            return;
        case Phase::Install: {
            FolderWatch prompt(KillWorld::promptFolder);
            start();
            require(!prompt.await(FolderWatch::Event::Created, "asked", patience).empty(),
                    "nobody is asked for the password");
            passUpTo(world.privileged * 1.2);
            return;
        }
        case Phase::Reload: {
            FolderWatch stored(settings().parent_path());
            start();
            const bool isInStore = oneOfTwo();
            const auto event = isInStore ? FolderWatch::Event::Created : FolderWatch::Event::MovedIn;
            const std::string name = isInStore ? savePrefix : settings().filename().string();
            require(!stored.await(event, name, patience).empty(), "no version is stored");
            if (isInStore)
                passAMoment();
            else
                passUpTo(300ms);
            return;
        }
        case Phase::Flood:
            start();
            awaitChildren();
            if (oneOfTwo())
                openWindow();
            passUpTo(600ms);
            return;
    }
}

/// By the keyboard: the alert about the missing name, the name's field, the button.
void KillTrial::bringIntoSave() {
    start();
    await([&] { return launcher->visibleWindows().size() == 2; }, "the alert does not appear");
    await(
        [&] {
            world.desktop.run("xdotool", {"key", "Return"});
            return launcher->visibleWindows().size() == 1;
        },
        "the alert does not go");
    await(
        [&] {
            // Not the active window: for a moment the window manager still names the alert.
            return world.desktop.run("xdotool", {"getwindowfocus", "getwindowpid"}).trimmed() ==
                   QString::number(launcher->id());
        },
        "the window has no focus");
    world.desktop.run("xdotool", {"key", "Tab", "G", "r", "a", "c", "e", "Tab", "Tab"});

    FolderWatch saved(properties().parent_path());
    keys = std::make_unique<QProcess>();
    keys->setProcessEnvironment(world.desktop.environment(home().c_str()));
    keys->start("xdotool", {"key", "space"});
    require(keys->waitForStarted(), "xdotool is missing");
    if (oneOfTwo()) {
        passUpTo(150ms);
    } else {
        require(!saved.await(FolderWatch::Event::Created, savePrefix, patience).empty(), "nothing is saved");
        passAMoment();
    }
}

/// Starts the launcher and waits until it unpacks.
fs::path KillTrial::startToMountPoint() {
    FolderWatch folders(temporary());
    start();
    const fs::path staging = folders.await(FolderWatch::Event::Created, stagingPrefix, patience);
    require(!staging.empty(), "there is no staging folder");
    FolderWatch parts(staging);
    const fs::path mountPoint = parts.await(FolderWatch::Event::Created, "mnt", patience);
    require(!mountPoint.empty(), "nothing is unpacked");
    return mountPoint;
}

/// Counts only time in which this process was given the processor as well.
void KillTrial::checkChildrenAreGone() {
    const auto begin = Clock::now();
    // Before all of its threads have ended, its children are still its own and not this process's.
    require(launcher->program().waitForFinished(30000) || !launcher->isRunning(),
            "the launcher does not end");
    auto last = Clock::now();
    Clock::duration counted{};
    for (;;) {
        std::vector<Descendant> left = world.descendants.living(launcher->id());
        std::erase_if(left, [](const Descendant &process) { return process.isOfInstall; });
        const auto now = Clock::now();
        counted += std::min<Clock::duration>(now - last, 50ms);
        last = now;
        goneAfter = now - begin;
        if (left.empty())
            return;
        require(counted < childrenTimeout, "still alive after a second:" + listOf(left));
        std::this_thread::sleep_for(2ms);
    }
}

bool KillTrial::isHalfDone() const {
    for (const fs::path &folder : {temporary(), properties().parent_path(), settings().parent_path()})
        for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
            const std::string name = entry.path().filename();
            if (name.starts_with(savePrefix) || name.starts_with(stagingPrefix))
                return true;
        }
    return !world.descendants.living(launcher->id()).empty();
}

void KillTrial::checkFiles() const {
    const QByteArray identityNow = readFile(properties());
    require(identityNow == oldProperties || identityNow == newProperties,
            "torn properties file: " + identityNow.toStdString());
    const QByteArray settingsNow = readFile(settings());
    require(settingsNow == oldSettings || settingsNow == currentSettings(),
            "torn settings file: " + settingsNow.toStdString());
}

void KillTrial::awaitEndOfInstall() const {
    await([&] { return world.descendants.living(launcher->id()).empty(); },
          [&] {
              return "the privileged copy does not end:" + listOf(world.descendants.living(launcher->id()));
          });
    const Installed now = world.installed();
    require(now == before || now == Installed::Current, "the application has gone");
}

/// The next start, up to the end of its installation if it has anything to install.
void KillTrial::checkNextStart() {
    TestTree::write(tree->resources() / "Tandril/LumoraCore/MediaEngine/Orbix.behaviour", "wait\n");
    TestTree::write(tree->tree.path() / "bin/qorclient.behaviour", "wait\n");
    if (readFile(properties()) == oldProperties)
        writeFile(properties(), identity("Ada Lovelace"));
    start();
    awaitChildren();
    openWindow();
    await([&] { return readFile(settings()) == currentSettings(); },
          [&] { return "the next start does not store the version: " + readFile(settings()).toStdString(); });
    await(
        [&] {
            const auto living = world.descendants.living(launcher->id());
            return isEmptyFolder(temporary()) && living.empty() && launcher->child("Orbix") &&
                   launcher->child("qorclient");
        },
        "the next start's installation does not end");
    require(world.installed() == Installed::Current, "the next start does not install");
    require(launcher->isRunning(), "the next start has ended");

    kill(launcher->id(), SIGTERM);
    await([&] { return !launcher->isRunning(); }, "the next start does not quit");
    require(launcher->program().exitStatus() == QProcess::NormalExit && launcher->program().exitCode() == 0,
            "the next start fails");
    checkChildrenAreGone();
}

void KillTrial::checkNothingIsLeft() const {
    for (const fs::path &folder : {temporary(), home()})
        for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder)) {
            const std::string name = entry.path().filename();
            const bool isKnown =
                entry.path() == properties() || entry.path() == settings() || entry.is_directory() ||
                std::set<std::string>{"instance.lock", "reopen.socket", "window.json", "notices.json"}
                    .contains(name) ||
                entry.path().string().find("/.cache/") != std::string::npos;
            require(isKnown && !name.starts_with(savePrefix) && !name.starts_with(stagingPrefix),
                    "left over: " + entry.path().lexically_relative(tree->tree.path()).string());
        }
}

void KillTrial::run() {
    prepare();
    bringIntoPhase();
    require(launcher->isRunning(), "the launcher has ended before the kill");
    kill(launcher->id(), SIGKILL);
    checkChildrenAreGone();
    if (keys)
        keys->waitForFinished();
    require(launcher->program().exitStatus() == QProcess::CrashExit, "the launcher was not killed");
    leftHalfDone = isHalfDone();
    checkFiles();
    // A user may start it again while the privileged copy still runs.
    if (phase != Phase::Install || oneOfTwo())
        awaitEndOfInstall();
    const Milliseconds gone = goneAfter;
    checkNextStart();
    goneAfter = gone;
    checkNothingIsLeft();
}

void KillTrial::measure(KillWorld &world) {
    KillTrial trial(world, Phase::Unpack, 0);
    trial.prepare();
    FolderWatch prompt(KillWorld::promptFolder);
    FolderWatch stored(trial.settings().parent_path());
    const auto begin = Clock::now();
    trial.startToMountPoint();
    const auto unpacking = Clock::now();
    require(!prompt.await(FolderWatch::Event::Created, "asked", patience).empty(),
            "nobody is asked for the password");
    const auto asked = Clock::now();
    require(!stored.await(FolderWatch::Event::MovedIn, trial.settings().filename(), patience).empty(),
            "no version is stored");
    world.unpack = asked - unpacking;
    world.privileged = Clock::now() - asked;
    trial.awaitChildren();
    world.start = unpacking - begin;
    kill(trial.launcher->id(), SIGTERM);
    await([&] { return !trial.launcher->isRunning(); }, "the launcher does not quit");
    trial.checkNextStart();
    trial.checkNothingIsLeft();
}

}  // namespace ferrolt
