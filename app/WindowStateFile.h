#pragma once

#include "WindowState.h"
#include "WorkQueue.h"

#include <QString>

#include <memory>

namespace ferrolt {

/// Keeps the window's state on disk. To write it means to wait for the disk, for seconds where others write a
/// lot, and neither a window that is closed nor one that is being used may stand still for that. Main thread.
class WindowStateFile {
  public:
    explicit WindowStateFile(QString path);
    /// What was still to be written is written before this returns.
    ~WindowStateFile();
    WindowStateFile(const WindowStateFile &) = delete;
    WindowStateFile &operator=(const WindowStateFile &) = delete;

    WindowState load() const;

    /// Writes it on a thread of its own; of several that come in the meantime only the last.
    void saveSoon(const WindowState &state);
    /// Has written it when it returns, for one who is about to be ended.
    void saveNow(const WindowState &state);

  private:
    struct Shared;
    std::shared_ptr<Shared> shared;
    WorkQueue queue;
};

}  // namespace ferrolt
