#pragma once

#include "LogBuffer.h"
#include "TimeSource.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace ferrolt {

/// Hands the elements that a reader's thread decodes over to the main thread, in batches: waking the main
/// thread costs more than everything else that is done with an element.
///
/// An element that arrives after a quiet moment is handed over at once. After a hand-over, elements wait
/// until the next screen refresh, or until `batchSize` of them wait. A quiet moment is a refresh interval in
/// which nothing was handed over.
///
/// States: Quiet --an element arrives--> Woken --the main thread hands over--> AwaitingRefresh. From
/// AwaitingRefresh, the refresh hands over what waits and leads to AwaitingRefresh again, or to Quiet if
/// nothing waits; an element that completes a batch leads to Woken.
///
/// At most the newest `maxWaiting` elements wait for a busy main thread, so that it costs neither unbounded
/// memory nor the child's time. A log keeps no more than these.
class LogThrottle : public std::enable_shared_from_this<LogThrottle> {
  public:
    using Delivery = std::function<void(std::vector<LogElement>)>;

    static constexpr std::chrono::milliseconds refreshInterval{16};
    static constexpr std::size_t batchSize = 128;
    static constexpr std::size_t maxWaiting = 1000;

    /// `delivery` is called on the main thread, with elements in the order of their post(), never with none.
    /// To be owned by a std::shared_ptr.
    explicit LogThrottle(Delivery delivery, std::shared_ptr<TimeSource> time = systemTime())
        : delivery(std::move(delivery)), time(std::move(time)) {}

    /// Any thread. Never waits for the main thread.
    void post(LogElement element);

    /// Delivers what waits before it returns. Main thread.
    void handOver();

    /// Delivers what waits before it returns, and nothing that is posted afterwards. Main thread.
    void close();

  private:
    enum class State { Quiet, Woken, AwaitingRefresh };

    void wake(std::uint64_t wakeUp);

    Delivery delivery;  ///< main thread only; none once closed
    const std::shared_ptr<TimeSource> time;

    std::mutex mutex;
    State state = State::Quiet;
    /// The wake-up that is to come. One with a smaller number was overtaken by another hand-over.
    std::uint64_t latestWakeUp = 0;
    std::deque<LogElement> waiting;
};

}  // namespace ferrolt
