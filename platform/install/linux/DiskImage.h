#pragma once

#include "ToolRunner.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace ferrolt {

/// A Mac's disk image on Linux: UDIF, compressed or not, or bare, with an HFS+ or APFS volume in it.
/// Attaching it unpacks the volume into the mount point, with no more rights than the user's own.
///
/// The image comes from the network, and what is in it is not trusted. 7-Zip only reads it and writes the
/// contents to a pipe; which folders, files and links there will be is decided here, from its listing, and
/// made here. So a link never leads a later entry astray: links are made last, with the very target that the
/// image gives, and nothing follows them.
///
/// Everything blocks for as long as the disk and the archiver take: any thread but the main one.
class DiskImage {
  public:
    /// More than this is not unpacked: contents and link targets together, in bytes.
    static constexpr std::uint64_t largestVolume = std::uint64_t{8} * 1024 * 1024 * 1024;

    struct Archiver {
        std::filesystem::path executable;
        std::chrono::seconds limit;
    };

    /// `archiver` is a 7-Zip executable; an empty path if there is none, and then nothing can be attached.
    /// Each of its two runs, listing and unpacking, is killed after `limit`.
    explicit DiskImage(std::filesystem::path archiver, std::chrono::seconds limit = std::chrono::minutes(15))
        : archiver{std::move(archiver), limit} {}

    /// 7-Zip as the system has it: "7zz" or "7z" in /usr/bin, which only an administrator can write, else on
    /// the search path. An empty path if it is missing.
    static std::filesystem::path systemArchiver();

    /// Unpacks into the folder `mountPoint`, which must exist and be empty, and leaves it empty when it
    /// fails. Modes are the image's, but the owner can read everything: it has to be copied on.
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
