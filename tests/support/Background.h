#pragma once

#include <QCoreApplication>

#include <chrono>
#include <future>
#include <thread>
#include <utility>

namespace ferrolt {

/// Runs blocking work on a background thread while the test's event loop goes on.
template <class Work>
auto inBackground(Work work) {
    std::packaged_task<decltype(work())()> task(std::move(work));
    auto result = task.get_future();
    std::thread thread(std::move(task));
    while (result.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        QCoreApplication::processEvents();
    thread.join();  // at its end Qt frees what the thread had; a program that ends before would leak it
    return result.get();
}

}  // namespace ferrolt
