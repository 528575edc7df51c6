#pragma once

#include "MainQueue.h"
#include "TimeSource.h"

#include <QObject>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace ferrolt {

/// Time that stands still until a test moves it on. Timers run on the main thread, in the order of their
/// times.
class TestTime : public TimeSource {
  public:
    Duration now() const override {
        std::lock_guard lock(mutex);
        return moment;
    }

    void sleepFor(Duration duration) override {
        std::unique_lock lock(mutex);
        const Duration end = moment + duration;
        moved.wait(lock, [&] { return moment >= end; });
    }

    std::unique_ptr<Timer> startTimer(Duration delay, std::function<void()> work) override {
        auto handle = std::make_unique<Handle>();
        add(delay, std::move(work), handle->alive);
        return handle;
    }

    void callAfter(Duration delay, std::function<void()> work) override {
        static const auto always = std::make_shared<int>();
        add(delay, std::move(work), always);
    }

    /// Any thread; what is due runs on the main thread, soon.
    void advance(Duration duration) {
        std::vector<Due> ready;
        {
            std::lock_guard lock(mutex);
            moment += duration;
            moved.notify_all();
            const auto later = std::stable_partition(due.begin(), due.end(),
                                                     [this](const Due &one) { return one.at <= moment; });
            ready.assign(std::move_iterator(due.begin()), std::move_iterator(later));
            due.erase(due.begin(), later);
        }
        std::ranges::stable_sort(ready, {}, &Due::at);
        for (Due &one : ready)
            MainQueue::async([work = std::move(one.work), alive = std::move(one.alive)] {
                if (!alive.expired())
                    work();
            });
    }

  private:
    struct Handle : Timer {
        std::shared_ptr<int> alive = std::make_shared<int>();
    };
    struct Due {
        Duration at;
        std::function<void()> work;
        std::weak_ptr<int> alive;
    };

    void add(Duration delay, std::function<void()> work, const std::shared_ptr<int> &alive) {
        std::lock_guard lock(mutex);
        due.push_back({moment + delay, std::move(work), alive});
    }

    mutable std::mutex mutex;
    std::condition_variable moved;
    Duration moment = std::chrono::hours(1);
    std::vector<Due> due;
};

}  // namespace ferrolt
