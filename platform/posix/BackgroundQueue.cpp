#include "BackgroundQueue.h"

#include "ThreadName.h"

#include <system_error>
#include <thread>
#include <utility>

namespace ferrolt {

// A thread for each piece of work instead of a pool: the few pieces that we have block for up to half a
// minute, and a pool would make the program wait for them when it ends.
bool BackgroundQueue::async(QualityOfService service, std::function<void()> work) {
    try {
        std::thread([service, work = std::move(work)] {
            nameThisThread(service == QualityOfService::Utility ? "utility" : "background");
            if (service == QualityOfService::Utility)
                lowerThisThread();
            work();
        }).detach();
    } catch (const std::system_error &) {
        return false;
    }
    return true;
}

}  // namespace ferrolt
