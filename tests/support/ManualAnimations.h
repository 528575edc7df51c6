#pragma once

#include <QAnimationDriver>
#include <QCoreApplication>

namespace ferrolt {

/// While it lives, animations advance by the test's time alone: on a busy machine a movement of 300 ms is
/// over before a test has looked at it. Main thread, one at a time.
class ManualAnimations : public QAnimationDriver {
  public:
    ManualAnimations() { install(); }
    ~ManualAnimations() override { uninstall(); }

    qint64 elapsed() const override { return milliseconds; }
    void advanceBy(qint64 more) {
        // An animation is registered by an event, and starts at the tick that follows the next one.
        for (int i = 0; i < 2; ++i) {
            QCoreApplication::processEvents();
            advance();
        }
        milliseconds += more;
        advance();
    }

  private:
    qint64 milliseconds = 0;
};

}  // namespace ferrolt
