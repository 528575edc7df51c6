#pragma once

#include <ctime>

namespace ferrolt {

/// Measures how long the calling thread has computed, or all threads of the process, as QElapsedTimer
/// measures how long something took. What else the machine does meanwhile does not count, so that a test can
/// ask for a bound beside any load. Waiting does not count either.
class CpuTime {
  public:
    enum class Of { Thread, Process };

    explicit CpuTime(Of of = Of::Thread)
        : clock(of == Of::Thread ? CLOCK_THREAD_CPUTIME_ID : CLOCK_PROCESS_CPUTIME_ID) {
        start();
    }
    void start() { begin = now(); }
    long long milliseconds() const { return nanoseconds() / 1'000'000; }
    long long nanoseconds() const { return now() - begin; }

  private:
    long long now() const {
        timespec time{};
        clock_gettime(clock, &time);
        return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
    }

    clockid_t clock;
    long long begin = 0;
};

}  // namespace ferrolt
