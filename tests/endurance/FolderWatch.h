#pragma once

#include "FileDescriptor.h"

#include <chrono>
#include <filesystem>
#include <string>

namespace ferrolt {

/// Tells at once when something happens in a folder, to strike in the middle of it.
class FolderWatch {
  public:
    enum class Event { Created, MovedIn };

    explicit FolderWatch(const std::filesystem::path &folder);

    /// Waits for an entry whose name begins with `prefix`, and returns its path; empty when there is none in
    /// time.
    std::filesystem::path await(Event event, const std::string &prefix, std::chrono::milliseconds patience);

  private:
    std::filesystem::path folder;
    FileDescriptor queue;
};

}  // namespace ferrolt
