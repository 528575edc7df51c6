#pragma once

#include <cstdint>
#include <ctime>

struct kevent {
    std::uintptr_t ident;
    std::int16_t filter;
    std::uint16_t flags;
    std::uint32_t fflags;
    std::intptr_t data;
    void *udata;
};

#define EVFILT_READ (-1)
#define EVFILT_PROC (-5)
#define EV_ADD 0x0001
#define EV_ONESHOT 0x0010
#define NOTE_EXIT 0x80000000
#define EV_SET(event, a, b, c, d, e, f)               \
    do {                                              \
        struct kevent *set_ = (event);                \
        set_->ident = static_cast<std::uintptr_t>(a); \
        set_->filter = (b);                           \
        set_->flags = (c);                            \
        set_->fflags = (d);                           \
        set_->data = (e);                             \
        set_->udata = (f);                            \
    } while (0)

extern "C" int kqueue();
extern "C" int kevent(int queue, const struct kevent *changes, int changeCount, struct kevent *events,
                      int eventCount, const struct timespec *timeout);
