#include "FolderWatch.h"

#include <array>
#include <cstddef>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace ferrolt {

FolderWatch::FolderWatch(const std::filesystem::path &folder)
    : folder(folder), queue(inotify_init1(IN_CLOEXEC)) {
    inotify_add_watch(queue.get(), folder.c_str(), IN_CREATE | IN_MOVED_TO);
}

std::filesystem::path FolderWatch::await(Event event, const std::string &prefix,
                                         std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const std::uint32_t wanted = event == Event::Created ? IN_CREATE : IN_MOVED_TO;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd waiting{queue.get(), POLLIN, 0};
        if (left.count() <= 0 || poll(&waiting, 1, static_cast<int>(left.count())) <= 0)
            return {};
        alignas(inotify_event) std::array<char, 16384> bytes;
        const ssize_t count = read(queue.get(), bytes.data(), bytes.size());
        for (ssize_t at = 0; at < count;) {
            const auto *const happened =
                reinterpret_cast<const inotify_event *>(bytes.data() + static_cast<std::size_t>(at));
            at += static_cast<ssize_t>(sizeof(inotify_event) + happened->len);
            if ((happened->mask & wanted) != 0 && happened->len > 0 &&
                std::string(happened->name).starts_with(prefix))
                return folder / happened->name;
        }
    }
}

}  // namespace ferrolt
