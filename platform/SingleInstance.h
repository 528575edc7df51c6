#pragma once

#include <filesystem>
#include <functional>
#include <memory>

namespace ferrolt {

/// Makes a second start of the program, by the same user and for the same home folder, a reopen of the first.
/// Where the system itself reopens a running application (macOS), every start is the first.
class SingleInstance {
  public:
    enum class Start {
        First,  ///< nothing else runs; the claim holds until the object is destroyed or the process ends,
                ///< however
        HandedOver,  ///< another runs and was told to reopen
        Unanswered,  ///< another runs but did not answer within five seconds
    };

    /// Claims the place of the running program below `home`, or hands over. Needs no application object;
    /// takes a few milliseconds. A claim of a process that is gone, killed or crashed, never stands in the
    /// way.
    explicit SingleInstance(const std::filesystem::path &home);
    ~SingleInstance();

    Start start() const { return outcome; }

    /// From here on `reopen` is called on the main thread for every later start, also for those that came
    /// before this call. Needs the application object.
    void listen(std::function<void()> reopen);

    /// For a program that is ending: a start from here on is not handed over any more, and waits for its
    /// place. Main thread.
    void stopListening();

  private:
    struct State;
    std::unique_ptr<State> state;
    Start outcome = Start::First;
};

}  // namespace ferrolt
