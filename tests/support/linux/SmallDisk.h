#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace ferrolt {

/// A file system of a few hundred kilobytes in the place of a folder, for tests that fill it.
class SmallDisk {
  public:
    /// `folder` must exist and be empty.
    SmallDisk(std::filesystem::path folder, std::uint64_t bytes)
        : folder(std::move(folder)),
          bytes(bytes),
          options("size=" + std::to_string(bytes)),
          userMap("0 " + std::to_string(::geteuid()) + " 1"),
          groupMap("0 " + std::to_string(::getegid()) + " 1") {}
    ~SmallDisk() {
        if (!filled.empty())
            std::filesystem::remove_all(filled);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    /// In a forked child, where it is the child's alone: async-signal-safe. An ordinary user mounts in a user
    /// namespace of his own. False where the system allows neither, as most containers do.
    bool mount() const noexcept {
        if (::unshare(CLONE_NEWNS) != 0) {
            if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 || !write("/proc/self/setgroups", "deny") ||
                !write("/proc/self/uid_map", userMap) || !write("/proc/self/gid_map", groupMap))
                return false;
        }
        return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount("none", folder.c_str(), "tmpfs", 0, options.c_str()) == 0;
    }

    /// Where that is refused: fills a /dev/shm that is as small as a container's, up to the size wanted, and
    /// puts a link to a folder there in the folder's place. Nothing else may use /dev/shm meanwhile. False
    /// where it is not small.
    bool useSharedMemory() {
        constexpr std::uint64_t small = std::uint64_t{256} << 20;
        const std::filesystem::path memory = "/dev/shm";
        struct statvfs room {};
        if (::statvfs(memory.c_str(), &room) != 0 || room.f_blocks * room.f_frsize > small ||
            room.f_bavail * room.f_frsize < bytes)
            return false;
        std::string name = memory / "ferrolt-small-disk-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr)
            return false;
        filled = name;
        std::ofstream(filled / "filler") << std::string(room.f_bavail * room.f_frsize - bytes, 'x');
        std::filesystem::create_directory(filled / "room");
        std::filesystem::remove(folder);
        std::filesystem::create_directory_symlink(filled / "room", folder);
        return true;
    }

  private:
    static bool write(const char *file, std::string_view text) noexcept {
        const int descriptor = ::open(file, O_WRONLY | O_CLOEXEC);
        const bool isWritten = descriptor >= 0 && ::write(descriptor, text.data(), text.size()) ==
                                                      static_cast<ssize_t>(text.size());
        ::close(descriptor);
        return isWritten;
    }

    std::filesystem::path folder;
    std::uint64_t bytes;
    std::string options;
    std::string userMap;
    std::string groupMap;
    std::filesystem::path filled;  ///< of shared memory; empty where a disk was mounted
};

}  // namespace ferrolt
