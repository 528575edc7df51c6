#pragma once

#include <QTest>

#include <chrono>
#include <thread>

namespace ferrolt {

/// Turns the event loop until `condition` holds; false when it still does not after `patience`. The patience
/// is generous because a machine under a sanitizer and a full load is slow; nothing waits that long when all
/// is well.
template <class Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(20)) {
    return QTest::qWaitFor(condition, static_cast<int>(patience.count()));
}

/// The same without an event loop, for conditions that other threads and processes bring about.
template <class Condition>
bool waitWithoutEvents(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace ferrolt
