#pragma once

enum qos_class_t : unsigned { QOS_CLASS_UTILITY = 0x11 };

extern "C" int pthread_set_qos_class_self_np(qos_class_t qualityOfService, int relativePriority);
