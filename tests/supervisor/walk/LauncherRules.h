#pragma once

#include "AlertPresenter.h"
#include "TimeSource.h"

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <vector>

#include <sys/types.h>

namespace ferrolt {

/// The rules of one life of the launcher, written a second time and as plainly as possible: no threads, no
/// processes, no queue. A walk tells them what it does, before it does it, and what it sees, as soon as it
/// sees it. They say what must be the case then, and complain about what must not have been seen.
///
/// What the launcher does at once is predicted. What it does when a child, a thread or a server is done is
/// followed, and is a complaint unless the rules allow it at that moment.
class LauncherRules {
  public:
    enum class Stop { None, EngineRestart, ChildEnded, FatalError, Quit };
    enum Kind : std::size_t { Engine, Client };
    static constexpr std::array kinds{Engine, Client};
    static QString nameOf(Kind kind);

    /// The state of a child's program file.
    enum class Program { Good, EndsAtOnce, Missing, NotExecutable };
    static constexpr int statusOfEndsAtOnce = 1;
    static bool canBeLaunched(Program program) {
        return program == Program::Good || program == Program::EndsAtOnce;
    }

    struct Child {
        pid_t id = 0;
        bool isAsked = false;     ///< by the launcher, to end
        bool isReplaced = false;  ///< asked by a restart, which tells nobody of its end
        bool isDeaf = false;      ///< ignores such a request
        bool mayBeTold = true;    ///< of its end; not when it still ran while it was replaced
        std::set<int> ownEnds;    ///< the statuses with which it may end without having been asked
        bool isReported = false;  ///< "terminated with status" was seen
        bool isEnding() const { return !ownEnds.empty() || (isAsked && !isDeaf); }
    };

    // The surroundings, kept up to date by the walk.
    std::array<Program, 2> program{};
    bool isIdentityComplete = true;
    std::int64_t port = 0;
    bool isPortOpen = false;
    TimeSource::Duration now{};

    // What the walk does.
    void startServices();
    void reloadEngine();
    void stopAll();
    void askForInstallation() { ++installationsAsked; }
    void startTimer() { timerAt = now + interval; }
    void advance(TimeSource::Duration by);
    void openPort();
    void movePort(std::int64_t next);
    /// All work that the launcher had to do has been done; see Walk::settle().
    void settled();

    // What it sees.
    void launched(Kind kind, pid_t id);
    void line(Kind log, const QString &line);
    void alert(const Alert &alert);
    void checkEnded(std::optional<std::int64_t> intervalOfManifest);
    /// The restart is over, whatever came of it.
    void restartEnded();

    /// The first violation of a rule.
    std::optional<QString> complaint;
    void complain(const QString &what);

    // What must be the case.
    Stop stop = Stop::None;
    bool isFinal() const { return stop > Stop::EngineRestart; }
    std::array<bool, 2> isRunning{};
    bool isCheckRunning = false;
    std::optional<TimeSource::Duration> timerAt;
    bool isAwaitingPort = false;
    std::deque<Alert> alertsToCome;
    std::array<std::vector<Child>, 2> children;
    Child *latest(Kind kind) { return children[kind].empty() ? nullptr : &children[kind].back(); }
    /// An installation was reported as successful, and the engine has been up ever since.
    bool isRestartDue = false;

    // Counts, for what a single event must bring about.
    int restarts = 0;
    int skippedInstallations = 0;
    int launches = 0;
    int ends = 0;

  private:
    bool launchNow(Kind kind);
    void awaitPort();
    void stopForGood(Stop cause);
    void fatalError(const QString &beginning);
    void beginRestart();
    void childEnded(Kind kind, int status);
    void portAnswered(const QString &line, bool isReachable);

    std::array<int, 2> toLaunch{};  ///< launches that the rules have begun and that were not seen yet
    std::array<int, 2> toStart{};   ///< the same for the lines about them
    int restartLines = 0;           ///< that a call of reloadEngine() brings
    int installationsAsked = 0;
    int successes = 0;  ///< installations that were told of as successful, and are to be delivered
    std::chrono::hours interval{1};
    std::int64_t awaitedPort = 0;
    bool wasAwaitedPortOpen = false;
    TimeSource::Duration deadline{};

    /// The sleep between two probes in which the wait for the port was when all was settled.
    struct Nap {
        TimeSource::Duration end{};                     ///< at the latest
        std::optional<TimeSource::Duration> firstStep;  ///< the time to which the walk moved first since then
        bool isPortOpen = false;                        ///< since then, without a break
    };
    std::optional<Nap> nap;
    bool mustPortWaitHaveEnded() const;
    void step(TimeSource::Duration next);
};

}  // namespace ferrolt
