#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace ferrolt {

/// A thread with an event loop, for Qt's network classes. Work reaches it in order, under a mutex of our own.
///
/// States: running --finish()--> finishing --> ended. Work that waits when finish() is called is destroyed
/// unrun.
class NetworkThread {
  public:
    /// Starts a thread; `leaving` runs on it after the last piece of work. Nothing if the system has no
    /// thread to give.
    static std::shared_ptr<NetworkThread> start(std::function<void()> leaving);
    ~NetworkThread();
    NetworkThread(const NetworkThread &) = delete;
    NetworkThread &operator=(const NetworkThread &) = delete;

    /// Any thread.
    void post(std::function<void()> work);
    /// Asks the thread to end. Any thread.
    void finish();
    /// Waits until it has ended, or not longer than `longest`; from then on it ends by itself. On the thread
    /// itself it does not wait. After finish(). Several threads may wait.
    void waitForEnd(std::chrono::milliseconds longest);

  private:
    class Receiver;

    NetworkThread() = default;
    void run();
    void noteEnd();
    void wakeUp();

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> waiting;
    Receiver *receiver = nullptr;
    bool wakeUpUnderWay = false;
    bool finishing = false;
    bool ended = false;
    bool joined = false;
    std::thread::id id;
    std::thread thread;
};

}  // namespace ferrolt
