#include "WindowStateFile.h"

#include "ReverseDomain.h"

#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace ferrolt {

struct WindowStateFile::Shared {
    explicit Shared(QString path) : path(std::move(path)) {}

    const QString path;

    std::mutex mutex;
    std::optional<WindowState> latest;  ///< that is not written yet

    std::mutex writing;

    void setLatest(const WindowState &state) {
        std::lock_guard lock(mutex);
        latest = state;
    }

    /// Whoever comes second waits for the first, so that an older state never replaces a newer one.
    void write() {
        std::lock_guard oneAtATime(writing);
        std::optional<WindowState> state;
        {
            std::lock_guard lock(mutex);
            state = std::exchange(latest, std::nullopt);
        }
        if (state)
            state->save(path);
    }
};

WindowStateFile::WindowStateFile(QString path)
    : shared(std::make_shared<Shared>(std::move(path))),
      queue(std::string(reverseDomain) + ".window-state", QualityOfService::Utility) {}

WindowStateFile::~WindowStateFile() {
    shared->write();
}

WindowState WindowStateFile::load() const {
    return WindowState::load(shared->path);
}

void WindowStateFile::saveSoon(const WindowState &state) {
    shared->setLatest(state);
    if (!queue.async([shared = shared] { shared->write(); }))
        shared->write();
}

void WindowStateFile::saveNow(const WindowState &state) {
    shared->setLatest(state);
    shared->write();
}

}  // namespace ferrolt
