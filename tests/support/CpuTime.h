#pragma once

#include <ctime>

namespace ferrolt {

/// Measures how long the calling thread has computed, as QElapsedTimer measures how long something took. What
/// else the machine does meanwhile does not count, so that a test can ask for a bound beside any load.
/// Waiting does not count either.
class CpuTime {
  public:
    CpuTime() { start(); }
    void start() { begin = now(); }
    long long milliseconds() const { return nanoseconds() / 1'000'000; }
    long long nanoseconds() const { return now() - begin; }

  private:
    static long long now() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
    }
    long long begin = 0;
};

}  // namespace ferrolt
