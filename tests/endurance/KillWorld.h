#pragma once

#include "Descendants.h"
#include "TestAuthority.h"
#include "UpdateServers.h"
#include "VirtualDesktop.h"

#include <QTemporaryDir>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

namespace ferrolt {

/// What all kills of one worker share: a private system with a desktop, servers and /Applications, and how
/// long each phase lasts there. To be made inside PrivateSystem::run().
struct KillWorld {
    using Milliseconds = std::chrono::duration<double, std::milli>;
    using Tree = std::map<std::string, std::string>;

    static const std::filesystem::path applications;
    static const std::filesystem::path application;
    /// The prompt creates a file here when the privileged copy begins.
    static const std::filesystem::path promptFolder;
    static const std::string oldVersion;

    /// The script that stands for pkexec. As with a set-user-id program, the launcher's death is no signal
    /// for it.
    static std::string prompt();

    /// Throws std::runtime_error if something is missing on this machine.
    KillWorld();

    enum class Installed { Nothing, Old, Current };
    /// Makes it what is in /Applications.
    void install(Installed what) const;

    /// What is in /Applications now, Nothing if it is empty; throws if it is neither a whole application nor
    /// nothing.
    Installed installed() const;

    TestAuthority authority;
    VirtualDesktop desktop;
    Descendants descendants;
    UpdateServers servers;
    std::atomic<int> imageRequests = 0;

    // How long a launcher that nobody kills takes: measured by KillTrial::measure(), generous before.
    Milliseconds start{3000};       ///< until both children run
    Milliseconds unpack{1000};      ///< from the mount point to the prompt
    Milliseconds privileged{2000};  ///< from the prompt until the version is stored

  private:
    QTemporaryDir volumes;
    std::filesystem::path oldVolume;
    std::filesystem::path newVolume;
    Tree oldTree;
    Tree newTree;
};

}  // namespace ferrolt
