#include "BackgroundQueue.h"

#include "ThreadName.h"

#include <QtGlobal>

#include <system_error>
#include <thread>
#include <utility>

namespace ferrolt {

// Not QThreadPool: it would make the program wait, when it ends, for work that blocks for up to half a
// minute, and it does not report that the system cannot create a thread.
bool BackgroundQueue::async(QualityOfService service, std::function<void()> work) {
    Q_ASSERT(work);
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
