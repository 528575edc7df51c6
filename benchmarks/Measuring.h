#pragma once

#include "Figures.h"
#include "ThreadSwitches.h"

#include <QApplication>
#include <QObject>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

namespace ferrolt::bench {

/// Turns the event loop for that long.
void runFor(std::chrono::milliseconds time);

/// Turns the event loop until the condition holds; ends the program when it does not within 30 seconds.
void runUntil(const std::function<bool()> &condition, const char *what);

/// Bytes that a process has written so far, by the kernel's account.
double bytesWrittenBy(pid_t process);

/// A line of /proc/PID/status: kilobytes, or a count.
long statusOf(pid_t process, const std::string &name);
inline double residentMegabytes(pid_t process) {
    return static_cast<double>(statusOf(process, "VmRSS:")) * 1024 / 1e6;
}

/// The context switches of each thread of a process so far, voluntary or not, by the thread's id.
ThreadSwitches contextSwitches(pid_t process);

/// Processor time of this process, all threads, in seconds.
double processorSeconds();
/// Processor time of the calling thread, in seconds.
double threadSeconds();

/// The most that was resident in this process, in megabytes, since it was last forgotten.
double maxResidentMegabytes();
void forgetMaxResident();
/// Gives the system back what earlier runs have left free in this process: a launcher has none before it.
void giveBackFreeMemory();

/// Ends the program: what was measured is worth nothing.
[[noreturn]] void giveUp(const std::string &why);

/// Undoes the launcher's widening of a child's output pipe.
void narrowPipeOf(pid_t child);

/// Asks a program to end, and waits for it.
void endProcess(pid_t process);

/// How long events wait for the main thread: a thread of its own hands the main thread an event each
/// millisecond. A wait counts once for each millisecond that it lasts, since so many events would
/// have waited.
class StallProbe : public QObject {
  public:
    StallProbe();
    ~StallProbe() override;

    /// The waits so far, in milliseconds; begins anew.
    Samples take();

  protected:
    bool event(QEvent *event) override;

  private:
    void run();

    std::atomic<std::int64_t> postedAt = 0;
    std::atomic<bool> ended = false;
    Samples waits;
    std::thread thread;
};

/// The program's application object, which knows for how long events keep the main thread.
class TimedApplication : public QApplication {
  public:
    using QApplication::QApplication;
    bool notify(QObject *receiver, QEvent *event) override;

    /// The longest span, in milliseconds, in which one event followed the other; begins anew.
    double takeWorst();

  private:
    using Clock = std::chrono::steady_clock;
    int depth = 0;
    Clock::time_point spanBegin;
    Clock::time_point spanEnd;
    Clock::duration worst{};
    std::vector<int> timersOfSpan;
};

/// The longest frame since the probe was made or last asked: what is shown and what a user does waits for so
/// long.
class FrameProbe {
  public:
    FrameProbe() { takeWorst(); }
    double takeWorst() { return static_cast<TimedApplication *>(qApp)->takeWorst(); }
};

/// Counts the paint events of some widgets.
class PaintCounter : public QObject {
  public:
    explicit PaintCounter(QObject *widget);
    int take() { return std::exchange(count, 0); }

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    int count = 0;
};

}  // namespace ferrolt::bench
