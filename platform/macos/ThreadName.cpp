#include "ThreadName.h"

#include <pthread.h>
#include <pthread/qos.h>

namespace ferrolt {

void nameThisThread(const char *name) {
    pthread_setname_np(name);
}

void lowerThisThread() {
    pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0);
}

}  // namespace ferrolt
