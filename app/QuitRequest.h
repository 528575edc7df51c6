#pragma once

#include <QObject>

#include <functional>

namespace ferrolt {

/// Calls back when the application is asked to quit, from any place, and before its windows close and save
/// their state. Never refuses to quit. Main thread.
class QuitRequest : public QObject {
    Q_OBJECT

  public:
    /// Needs the application object. `asked` may be called more than once.
    explicit QuitRequest(std::function<void()> asked);

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    std::function<void()> asked;
};

}  // namespace ferrolt
