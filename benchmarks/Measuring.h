#pragma once

#include "Figures.h"

#include <QElapsedTimer>
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

/// Switches of all threads of a process, on purpose and not, so far.
long contextSwitches(pid_t process);

/// Processor time of this process, all threads, in seconds.
double processorSeconds();

/// Undoes the launcher's widening of a child's output pipe.
void narrowPipeOf(pid_t child);

/// Asks a program to end, and waits for it.
void endProcess(pid_t process);

/// How long whatever is meant for the main thread waits for it: a thread of its own hands the main thread an
/// event each millisecond. A wait counts once for each millisecond that it lasts, since so many events would
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

/// The longest that the event loop was away from its next look at the screen and the user: from its awakening
/// until it waits again.
class FrameProbe : public QObject {
  public:
    FrameProbe();
    /// In milliseconds; begins anew.
    double takeWorst();

  private:
    QElapsedTimer sinceAwake;
    qint64 worst = 0;
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
