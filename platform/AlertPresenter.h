#pragma once

#include <QString>

#include <functional>

namespace ferrolt {

enum class AlertStyle {
    Informational,  ///< answers what the user has just done
    Warning,        ///< comes by itself: the user may be at work in another program
    Critical,       ///< answers a start or a request; dismissing it ends the program
};

struct Alert {
    AlertStyle style = AlertStyle::Informational;
    QString messageText;
    QString informativeText;
    QString button;
};

/// Shows modal alerts, one after the other when several are due.
class AlertPresenter {
  public:
    virtual ~AlertPresenter() = default;

    /// Main thread; returns at once. `dismissed` comes once, on the main thread, when the user has answered.
    virtual void present(const Alert &alert, std::function<void()> dismissed) = 0;
};

}  // namespace ferrolt
