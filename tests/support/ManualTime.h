#pragma once

#include "TimeSource.h"

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace ferrolt {

/// Time that stands still until the test advances it. Timers run inside advance(), on the main thread, in the
/// order of their times; a sleeping background thread wakes when its time has come.
class ManualTime : public TimeSource {
  public:
    ~ManualTime() override = default;

    Duration now() const override {
        std::lock_guard lock(mutex);
        return current;
    }

    void sleepFor(Duration duration) override {
        std::unique_lock lock(mutex);
        const Duration end = current + duration;
        lastLength = duration;
        sleepers.push_back(end);
        changed.wait(lock, [&] { return current >= end; });
    }

    std::unique_ptr<Timer> startTimer(Duration delay, std::function<void()> work) override {
        auto entry = std::make_shared<Entry>(Entry{now() + delay, std::move(work)});
        entries.push_back(entry);
        return std::make_unique<ManualTimer>(std::move(entry));
    }

    void callAfter(Duration delay, std::function<void()> work) override {
        entries.push_back(std::make_shared<Entry>(Entry{now() + delay, std::move(work)}));
    }

    /// Main thread.
    void advance(Duration duration) {
        const Duration end = now() + duration;
        for (;;) {
            const auto due =
                std::min_element(entries.begin(), entries.end(),
                                 [](const auto &a, const auto &b) { return a->moment < b->moment; });
            if (due == entries.end() || (*due)->moment > end)
                break;
            const std::shared_ptr<Entry> entry = *due;
            entries.erase(due);
            moveTo(std::max(now(), entry->moment));
            if (entry->work)
                std::exchange(entry->work, nullptr)();
        }
        moveTo(end);
    }

    /// The number of pending timers and delayed calls.
    std::size_t pending() const {
        return static_cast<std::size_t>(std::count_if(
            entries.begin(), entries.end(), [](const auto &entry) { return entry->work != nullptr; }));
    }

    /// The time until the next of them; negative when there is none.
    Duration nextDelay() const {
        Duration next{-1};
        for (const auto &entry : entries) {
            if (entry->work && (next < Duration::zero() || entry->moment - now() < next))
                next = entry->moment - now();
        }
        return next;
    }

    /// The number of threads in sleepFor() whose time has not come.
    int sleeping() const {
        std::lock_guard lock(mutex);
        return static_cast<int>(sleepers.size());
    }

    /// The duration of the latest sleepFor().
    Duration lastSleep() const {
        std::lock_guard lock(mutex);
        return lastLength;
    }

  private:
    struct Entry {
        Duration moment;
        std::function<void()> work;
    };
    class ManualTimer : public Timer {
      public:
        explicit ManualTimer(std::shared_ptr<Entry> entry) : entry(std::move(entry)) {}
        ~ManualTimer() override { entry->work = nullptr; }

      private:
        std::shared_ptr<Entry> entry;
    };

    void moveTo(Duration moment) {
        std::lock_guard lock(mutex);
        current = moment;
        sleepers.remove_if([&](Duration end) { return end <= current; });
        changed.notify_all();
    }

    mutable std::mutex mutex;
    std::condition_variable changed;
    Duration current{0};
    Duration lastLength{0};
    std::list<Duration> sleepers;  ///< when each is to wake
    std::list<std::shared_ptr<Entry>> entries;
};

}  // namespace ferrolt
