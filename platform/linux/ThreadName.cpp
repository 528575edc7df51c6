#include "ThreadName.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace ferrolt {

void nameThisThread(const char *name) {
    pthread_setname_np(pthread_self(), name);
}

void lowerThisThread() {
    // On Linux a nice value belongs to a thread, not to its process.
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 5);
}

}  // namespace ferrolt
