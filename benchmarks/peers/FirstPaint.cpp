// To be preloaded into a program that is looked at from outside: when it first hands the display server a
// picture, the time on the steady clock, in nanoseconds, goes into the file that FIRST_PAINT names. The
// program itself knows nothing of it, so a shipped program and a bare window are measured alike.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

void notePaint() {
    static bool noted = false;
    const char *const file = std::getenv("FIRST_PAINT");
    if (noted || file == nullptr)
        return;
    noted = true;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    char text[32];
    const int size = std::snprintf(text, sizeof text, "%lld\n", now.tv_sec * 1'000'000'000LL + now.tv_nsec);
    const int to = open(file, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (to < 0)
        return;  // another of the program's processes was first
    [[maybe_unused]] const ssize_t written = write(to, text, static_cast<std::size_t>(size));
    close(to);
}

struct Cookie {
    unsigned sequence;
};

}  // namespace

// As libxcb-shm declares it; the window's contents go to the display server this way.
extern "C" Cookie xcb_shm_put_image(void *connection, std::uint32_t drawable, std::uint32_t context,
                                    std::uint16_t totalWidth, std::uint16_t totalHeight, std::uint16_t fromX,
                                    std::uint16_t fromY, std::uint16_t width, std::uint16_t height,
                                    std::int16_t toX, std::int16_t toY, std::uint8_t depth,
                                    std::uint8_t format, std::uint8_t sendEvent, std::uint32_t segment,
                                    std::uint32_t offset) {
    using Function =
        Cookie (*)(void *, std::uint32_t, std::uint32_t, std::uint16_t, std::uint16_t, std::uint16_t,
                   std::uint16_t, std::uint16_t, std::uint16_t, std::int16_t, std::int16_t, std::uint8_t,
                   std::uint8_t, std::uint8_t, std::uint32_t, std::uint32_t);
    // The window plug-in brings the library in where a look-up from here does not find it.
    static const auto real =
        reinterpret_cast<Function>(dlsym(dlopen("libxcb-shm.so.0", RTLD_LAZY), "xcb_shm_put_image"));
    notePaint();
    return real(connection, drawable, context, totalWidth, totalHeight, fromX, fromY, width, height, toX, toY,
                depth, format, sendEvent, segment, offset);
}
