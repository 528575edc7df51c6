#pragma once

#include "AppVars.h"
#include "ChildPrograms.h"
#include "LauncherPrefsModel.h"
#include "LauncherRules.h"
#include "Listener.h"
#include "ManualTime.h"
#include "RecordingAlerts.h"
#include "TestTree.h"
#include "WalkDownloads.h"
#include "WalkEvent.h"

#include <QString>
#include <QStringList>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ferrolt {

/// One random walk over the events of a launcher's life, with real children, files, threads and a server on
/// loopback, and time that the walk moves. After each event, and before each change that AppVars announces,
/// it is compared with LauncherRules.
///
/// All decisions come from the seed. What the events bring about in other threads and processes is awaited
/// before most events; some come in bursts, so that they collide.
class Walk {
  public:
    Walk(std::uint64_t seed, WalkDownloads &downloads, const ChildPrograms &programs);
    ~Walk();

    /// The first violation of a rule; none if all is well.
    std::optional<QString> run(int events);

    /// What has happened so far, a line for each event.
    QStringList trace;

    /// How much of what matters has happened.
    struct Figures {
        int events = 0;
        int lives = 0;
        int launches = 0;
        int ends = 0;
        int restarts = 0;
        int checks = 0;
        int alerts = 0;
    };
    Figures figures;

  private:
    using Kind = LauncherRules::Kind;

    void beginLife();
    void endLife(bool isAwaited);
    /// After the end of AppVars: a wait for the port looks for it when it wakes.
    void endPortWait();
    void perform(WalkEvent event);
    void startServices();
    void save();
    void endChild();
    void deafenChild();
    /// Waits until the latest child has said it; false when it is not to run any more.
    bool hasSaid(Kind kind, const char *word);
    void endDeafChildren();
    void changeProgram();
    void setProgram(Kind kind, LauncherRules::Program program);
    void openPort();
    void movePort();
    void moveTime();
    void install();
    void changeManifest();
    void reload();
    void reopen();
    void answerAlert();
    void quit();

    template <class Condition>
    bool pumpUntil(Condition condition);
    void pump();
    /// Follows what has changed since the last call. Also called before each change that is announced.
    void look();
    void lookAtLog(Kind kind);
    void lookAtProcesses();
    /// Compares AppVars with the rules. Not while one of its functions runs.
    void check();
    bool isSettled();
    /// Waits until the launcher has done all that it has to do.
    void settle();
    void checkInstallation();
    void note(const QString &line) { trace << line; }

    WalkDice dice;
    WalkDownloads &downloads;
    const ChildPrograms &programs;
    TestTree tree;
    std::shared_ptr<SettingsStore> settings;
    std::filesystem::path temporary;
    std::vector<std::unique_ptr<ClosedPort>> ports;  ///< of the engine, the current one last
    QString savedEntity;
    int savesAsked = 0;
    int savesAnswered = 0;

    // Of the current life.
    std::shared_ptr<ManualTime> time;
    std::shared_ptr<ManualTime> timeOfForm;
    std::shared_ptr<RecordingAlerts> alerts;
    std::shared_ptr<AppVars> vars;
    std::unique_ptr<LauncherPrefsModel> form;
    LauncherRules rules;
    std::array<std::uint64_t, 2> nextElement{};
    std::array<const Process *, 2> seenProcess{};
    std::array<QByteArray, 2> said{};  ///< by the latest child of each kind
    std::size_t alertsSeen = 0;
    std::size_t alertsAnswered = 0;
    bool isAskedToEnd = false;
    bool isMovingTime = false;
    bool isCalm = false;  ///< settled, and no event since

    /// What an installation that nothing collides with must bring about.
    struct Expected {
        int restarts = 0;
        int skipped = 0;
    };
    std::optional<Expected> expected;
};

}  // namespace ferrolt
