#pragma once

#include "TestHttpsServer.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace ferrolt {

/// The servers whose addresses are built into the program, and the mirrors that their Metalink document
/// names. To be made in a PrivateSystem, where port 443 is free and servedHosts() lead here.
struct UpdateServers {
    /// What the manifest asks for; not the program's built-in default.
    static const QString version;
    static const QString manifestPath;
    static const QString metalinkPath;
    static const QString imagePath;  ///< on each mirror
    static const QStringList mirrorHosts;

    TestHttpsServer origin;
    std::vector<std::unique_ptr<TestHttpsServer>> mirrors;
    std::atomic<bool> mayDeliver = false;

    explicit UpdateServers(const TestAuthority &authority);

    /// The names of all of them, for PrivateSystem::setHosts().
    static std::vector<std::string> servedHosts();

    /// The manifest, and `image` on the last mirror, once `mayDeliver` is set. The others have none.
    void publish(const QByteArray &image);
};

/// An application of at least the minimum size, in a folder that stands for a volume, with the usual link to
/// /Applications.
void makeApplicationVolume(const std::filesystem::path &folder);

}  // namespace ferrolt
