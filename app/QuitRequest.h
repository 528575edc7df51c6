#pragma once

#include <QObject>

#include <functional>

namespace ferrolt {

/// Calls back when the application is asked to quit, from wherever: before its windows close, which takes
/// what time their drawing and their saving take. Quitting is never refused. Main thread.
class QuitRequest : public QObject {
    Q_OBJECT

  public:
    /// Needs the application object. May be called more than once.
    explicit QuitRequest(std::function<void()> asked);

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    std::function<void()> asked;
};

}  // namespace ferrolt
