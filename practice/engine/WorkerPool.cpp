#include "WorkerPool.h"

#include <algorithm>

namespace ferrolt::practice {

WorkerPool::WorkerPool(int workers)
    : freeFrom(static_cast<std::size_t>(workers)), chance(std::random_device{}()) {}

Job WorkerPool::take(Clock::time_point now) {
    using namespace std::chrono_literals;
    const std::chrono::milliseconds work{std::uniform_int_distribution(150, 900)(chance)};
    auto &worker = *std::ranges::min_element(freeFrom);
    worker = std::max(worker, now) + work;

    constexpr char digits[] = "0123456789abcdef";
    std::string id;
    for (int digit = 0; digit < 4; ++digit)
        id.push_back(digits[std::uniform_int_distribution<std::size_t>(0, 15)(chance)]);
    return {id, now, worker, static_cast<int>(work / 40ms)};
}

}  // namespace ferrolt::practice
