#pragma once

#include <QString>

#include <memory>
#include <optional>

namespace ferrolt {

/// The program's place among what the desktop starts when its user logs in. The desktop's own settings change
/// it too, so nothing is remembered here: state() looks each time. Main thread; both calls wait for the disk.
class LoginItem {
  public:
    enum class State { Off, On };

    virtual ~LoginItem() = default;

    /// On if the next log-in starts this copy of the program.
    virtual State state() const = 0;

    /// Nothing if `wanted` holds now. Otherwise one sentence that says why it does not; then nothing has
    /// changed.
    [[nodiscard]] virtual std::optional<QString> set(State wanted) = 0;

    /// That of the user who runs the program. To be called at the start, before an upgrade can have replaced
    /// the executable.
    static std::unique_ptr<LoginItem> ofUser();
};

}  // namespace ferrolt
