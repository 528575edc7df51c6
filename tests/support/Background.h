#pragma once

#include <QCoreApplication>

#include <chrono>
#include <future>
#include <thread>
#include <utility>

namespace ferrolt {

/// Runs what blocks on a thread of its own, as a work queue does, while the test's events go on.
template <class Work>
auto inBackground(Work work) {
    std::packaged_task<decltype(work())()> task(std::move(work));
    auto result = task.get_future();
    std::thread(std::move(task)).detach();
    while (result.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        QCoreApplication::processEvents();
    return result.get();
}

}  // namespace ferrolt
