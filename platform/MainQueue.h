#pragma once

#include <QtGlobal>

#include <functional>

namespace ferrolt {

/// The queue of work for the main thread: the only way by which another thread reaches the launcher's state.
/// Work runs in the order in which it was handed over, never inside the call that hands it over.
class MainQueue {
  public:
    /// Runs `work` on the main thread, soon. Any thread. Work handed over before the application object
    /// exists waits for it; work handed over after the application object has gone is dropped.
    static void async(std::function<void()> work);

    /// Runs `work` on the main thread and returns when it has run. On the main thread it runs at once. If the
    /// application object goes away first, returns without having run it. Any thread.
    static void sync(const std::function<void()> &work);

    /// Whether the caller runs on the thread that runs main(). Any thread.
    static bool isMainThread();
};

/// What a function that says "main thread" begins with; a release build checks nothing.
inline void assertMainThread() {
    Q_ASSERT(MainQueue::isMainThread());
}

/// What a function begins with that may block, or that the main thread would deadlock in.
inline void assertNotMainThread() {
    Q_ASSERT(!MainQueue::isMainThread());
}

}  // namespace ferrolt
