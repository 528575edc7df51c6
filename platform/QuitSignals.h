#pragma once

#include <functional>
#include <memory>

namespace ferrolt {

/// Turns SIGTERM, SIGINT and SIGHUP into an orderly quit: `quit` is called on the main thread, not in the
/// signal handler. One for the process, made on the main thread after the application object. A signal that
/// comes after the destruction ends the process as it would any other.
class QuitSignals {
  public:
    explicit QuitSignals(std::function<void()> quit);
    ~QuitSignals();

  private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace ferrolt
