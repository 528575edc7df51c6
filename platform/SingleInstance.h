#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace ferrolt {

/// Makes a second start of the program, by the same user and for the same home folder, a reopen of the first.
/// Where the system itself reopens a running application (macOS), every start is the first.
///
/// On Linux a lock file says which start is the first, and a socket beside it takes the later ones' requests.
/// Both are in a folder that no other user can enter. A file system without locks or sockets, or a home
/// folder that cannot be written, makes a private folder below $XDG_RUNTIME_DIR (or /tmp) take its place;
/// where that fails too, every start is the first. In a home folder that several machines share over the
/// network, a launcher on another machine holds the lock but cannot be reached: the start is Unanswered.
class SingleInstance {
  public:
    enum class Start {
        First,  ///< nothing else runs; the claim holds until the object is destroyed or the process ends,
                ///< however
        HandedOver,  ///< another runs and was asked to reopen
        Unanswered,  ///< another runs but did not answer within five seconds
    };

    /// Receives the xdg-activation token that the desktop gave to the later start, or an empty text.
    using Reopen = std::function<void(const std::string &activationToken)>;

    /// Claims the place of the running program below `home`, or hands over. Needs no application object;
    /// takes a few milliseconds, unless children of the former launcher are still ending: a first start waits
    /// for them, for ten seconds at most. A claim of a process that is gone, killed or crashed, never stands
    /// in the way.
    explicit SingleInstance(const std::filesystem::path &home);
    ~SingleInstance();

    Start start() const { return outcome; }

    /// From here on `reopen` is called on the main thread for every later start, also for those that came
    /// before this call. Needs the application object.
    void listen(Reopen reopen);

    /// For a program that is ending: a start from here on is not handed over any more, and waits for its
    /// place. Main thread.
    void stopListening();

    /// Notes a child of this process for the next first start, which waits for its end. A child that was
    /// noted before is not noted again. Main thread.
    void rememberChild(int processIdentifier);

  private:
    struct State;
    std::unique_ptr<State> state;
    Start outcome = Start::First;
};

}  // namespace ferrolt
