#include "ThreadSwitches.h"

namespace ferrolt::bench {

long switchesBetween(const ThreadSwitches &before, const ThreadSwitches &after) {
    long sum = 0;
    for (const auto &[thread, switches] : after) {
        const auto known = before.find(thread);
        // Fewer than before: another thread has been given the id of one that ended.
        const bool isSame = known != before.end() && known->second <= switches;
        sum += isSame ? switches - known->second : switches;
    }
    for (const auto &[thread, switches] : before)
        sum += after.contains(thread) ? 0 : 1;
    return sum;
}

}  // namespace ferrolt::bench
