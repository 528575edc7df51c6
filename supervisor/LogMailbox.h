#pragma once

#include "LogBuffer.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace ferrolt {

/// Holds what a reader's thread has decoded until the main thread takes it. One hand-over carries all that
/// waits, and no more than the newest 1000 elements ever wait: the log keeps no more, so what is older could
/// not be seen anyway. A main thread that is busy therefore costs neither memory without bound nor the
/// child's time.
class LogMailbox : public std::enable_shared_from_this<LogMailbox> {
  public:
    using Delivery = std::function<void(std::vector<LogElement>)>;

    static constexpr std::size_t mostWaiting = 1000;

    /// `delivery` is called on the main thread. Owned by a std::shared_ptr.
    explicit LogMailbox(Delivery delivery) : delivery(std::move(delivery)) {}

    /// Any thread; never waits for the main one.
    void post(LogElement element);

  private:
    void handOver();

    const Delivery delivery;
    std::mutex mutex;
    std::deque<LogElement> waiting;
    bool handOverUnderWay = false;
};

}  // namespace ferrolt
