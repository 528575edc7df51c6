#include "SystemTime.h"

#include "MainQueue.h"

#include <QCoreApplication>

#include <algorithm>
#include <thread>
#include <utility>

namespace ferrolt {

SystemTimer::SystemTimer(TimeSource::Duration delay, std::function<void()> work,
                         std::chrono::milliseconds maxRun)
    : remaining(std::chrono::ceil<std::chrono::milliseconds>(delay)), maxRun(maxRun), work(std::move(work)) {
    assertMainThread();
    Q_ASSERT(this->work);
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] { next(); });
    next();
}

void SystemTimer::next() {
    if (started && remaining <= std::chrono::milliseconds::zero()) {
        auto current = std::move(work);  // the work may destroy this timer
        current();
        return;
    }
    started = true;
    const auto run = std::clamp(remaining, std::chrono::milliseconds::zero(), maxRun);
    remaining -= run;
    timer.start(run);
}

namespace {

class SystemTime : public TimeSource {
  public:
    Duration now() const override { return std::chrono::steady_clock::now().time_since_epoch(); }
    void sleepFor(Duration duration) override {
        assertNotMainThread();
        std::this_thread::sleep_for(duration);
    }
    std::unique_ptr<Timer> startTimer(Duration delay, std::function<void()> work) override {
        return std::make_unique<SystemTimer>(delay, std::move(work));
    }
    void callAfter(Duration delay, std::function<void()> work) override {
        assertMainThread();
        QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(delay), Qt::PreciseTimer,
                           QCoreApplication::instance(), std::move(work));
    }
};

}  // namespace

std::shared_ptr<TimeSource> systemTime() {
    return std::make_shared<SystemTime>();
}

}  // namespace ferrolt
