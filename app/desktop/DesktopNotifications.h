#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace ferrolt {

/// Passive notifications, as the desktop shows them. A desktop without them shows nothing; on macOS none are
/// shown for now. Main thread.
class DesktopNotifications {
  public:
    struct Notification {
        QString title;
        QString body;
        QString button;  ///< its text; empty for none
    };

    /// Withdraws the notifications whose button would do nothing from now on.
    virtual ~DesktopNotifications() = default;

    /// Does not wait for the desktop. `shown` is called, from the event loop, when the desktop has taken the
    /// notification; `pressed` at most once, after that, when its user presses the button.
    virtual void show(const Notification &notification, std::function<void()> shown,
                      std::function<void()> pressed) = 0;

    static std::unique_ptr<DesktopNotifications> ofDesktop();
};

}  // namespace ferrolt
