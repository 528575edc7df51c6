#pragma once

#include <chrono>
#include <random>
#include <string>
#include <vector>

namespace ferrolt::practice {

using Clock = std::chrono::steady_clock;

/// A job that a worker has taken on. Nothing is computed: a worker is busy for as long as a real one might
/// be.
struct Job {
    std::string id;  ///< four hexadecimal digits
    Clock::time_point taken;
    Clock::time_point due;
    int units = 0;
};

/// Workers that take one job each and queue the rest.
class WorkerPool {
  public:
    explicit WorkerPool(int workers);

    int size() const { return static_cast<int>(freeFrom.size()); }
    Job take(Clock::time_point now);

  private:
    std::vector<Clock::time_point> freeFrom;  // one for each worker
    std::mt19937 chance;
};

}  // namespace ferrolt::practice
