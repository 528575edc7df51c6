#pragma once

#include <functional>
#include <memory>

namespace ferrolt {

/// Turns SIGTERM, SIGINT and SIGHUP into a quit: `quit` is called on the main thread, from the event loop.
/// One object per process, created on the main thread after the application object. After its destruction the
/// signals have their default dispositions.
class QuitSignals {
  public:
    explicit QuitSignals(std::function<void()> quit);
    ~QuitSignals();

  private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace ferrolt
