#pragma once

#include <QString>

#include <functional>

namespace ferrolt {

enum class AlertStyle {
    Informational,  ///< follows an action of the user's
    Warning,        ///< appears by itself: the user may be working in another program
    Critical,       ///< follows a start of the program or a request; dismissing it ends the program
};

struct Alert {
    AlertStyle style = AlertStyle::Informational;
    QString messageText;
    QString informativeText;
    QString button;
};

/// Shows modal alerts, one at a time.
class AlertPresenter {
  public:
    virtual ~AlertPresenter() = default;

    /// Main thread; does not wait. `dismissed` is called once, on the main thread, when the user has closed
    /// the alert.
    virtual void present(const Alert &alert, std::function<void()> dismissed) = 0;
};

}  // namespace ferrolt
