#pragma once

// This system's function of the same name takes the thread, too.
#define pthread_setname_np pthread_setname_np_of_this_system
#include_next <pthread.h>
#undef pthread_setname_np

extern "C" int pthread_setname_np(const char *name);
