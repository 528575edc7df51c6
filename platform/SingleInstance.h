#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace ferrolt {

/// Turns a second start of the program, by the same user and for the same home folder, into a reopen of the
/// first. On macOS the system does that, and every start is First.
///
/// On Linux the first start holds a lock file, and later starts send their requests to a socket beside it.
/// Both are in a folder that no other user can enter. If the home folder cannot be written, or its file
/// system has no locks or no sockets, a private folder below $XDG_RUNTIME_DIR (or /tmp) is used; if that
/// fails too, every start is First. In a home folder that machines share over the network, a launcher on
/// another machine holds the lock but cannot be reached: the start is Unanswered.
class SingleInstance {
  public:
    enum class Start {
        First,  ///< no other instance runs; holds until the object is destroyed or the process ends in any
                ///< way
        HandedOver,  ///< another instance runs and was asked to reopen
        Unanswered,  ///< another instance runs but did not answer within five seconds
    };

    /// Receives the xdg-activation token of the later start, or an empty text.
    using Reopen = std::function<void(const std::string &activationToken)>;

    /// Takes the lock below `home`, or hands over. Needs no application object. Takes a few milliseconds, but
    /// a first start waits up to ten seconds for children of the previous launcher that still run. A process
    /// that was killed or has crashed leaves no lock behind.
    explicit SingleInstance(const std::filesystem::path &home);
    ~SingleInstance();

    Start start() const { return outcome; }

    /// `reopen` is called on the main thread for every later start, also for those before this call. Needs
    /// the application object.
    void listen(Reopen reopen);

    /// For a program that is ending: later starts are not handed over any more, but wait for the lock. Main
    /// thread.
    void stopListening();

    /// Records a child of this process, so that the next first start waits for its end. Recording a child
    /// again does nothing. Main thread.
    void rememberChild(int processIdentifier);

  private:
    struct State;
    std::unique_ptr<State> state;
    Start outcome = Start::First;
};

}  // namespace ferrolt
