#pragma once

#include "ToolRunner.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <utility>

namespace ferrolt {

/// Opens a Mac's disk image on Linux: UDIF, compressed or not, or bare, with an HFS+ or APFS volume.
/// "Attaching" unpacks the volume into the mount point with the user's own rights.
///
/// The image comes from the network and is not trusted. 7-Zip only reads it, lists it and writes the contents
/// to a pipe; VolumeUnpacker creates from these what the listing names.
///
/// attach() and detach() block for the disk and the archiver: never the main thread.
class DiskImage {
  public:
    /// The max size of all files and link targets together, in bytes. A larger volume is refused.
    static constexpr std::uint64_t maxVolumeSize = std::uint64_t{8} * 1024 * 1024 * 1024;

    /// The max size of the archiver's address space, in bytes. A small image takes less than 64 MiB; the rest
    /// is for the catalog of a large one.
    static constexpr std::uint64_t maxArchiverMemory = std::uint64_t{4} * 1024 * 1024 * 1024;

    struct Archiver {
        /// 7-Zip; with an empty path attach() always fails.
        std::filesystem::path executable;
        /// For each of its two runs, listing and unpacking.
        std::chrono::milliseconds timeout = std::chrono::minutes(15);
        /// From the terminate request to the kill.
        std::chrono::milliseconds killAfter = std::chrono::seconds(2);
    };

    explicit DiskImage(Archiver archiver) : archiver(std::move(archiver)) {}

    /// "7zz" or "7z" in /usr/bin, where only an administrator can write, else on the search path; empty when
    /// there is none.
    static std::filesystem::path systemArchiver();

    /// Unpacks into `mountPoint`. False, and the folder is empty again, when that fails; false, and nothing
    /// is touched, when it is no empty folder. Permissions are the image's, plus read permission for the
    /// owner, who has to copy the files.
    bool attach(const std::filesystem::path &image, const std::filesystem::path &mountPoint,
                const ToolRunner::Progress &progress = {}) const;

    /// Empties the mount point.
    static bool detach(const std::filesystem::path &mountPoint);

  private:
    bool unpack(const std::filesystem::path &image, const std::filesystem::path &mountPoint,
                const ToolRunner::Progress &progress) const;

    Archiver archiver;
};

}  // namespace ferrolt
