#pragma once

#include "AppVars.h"
#include "TestHttpsServer.h"

#include <QByteArray>

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>

namespace ferrolt {

/// The update server, the download server, the disk image tool and the prompt for the password, for all walks
/// of a process. What an installation comes to is set beforehand.
///
/// Without TLS, which would take most of a walk's time.
class WalkDownloads {
  public:
    enum class Outcome { Installed, ToolIsMissing, NoMetalink, WrongImage, MountFails, PromptIsRefused };
    static constexpr std::array outcomes{Outcome::Installed,  Outcome::ToolIsMissing,
                                         Outcome::NoMetalink, Outcome::WrongImage,
                                         Outcome::MountFails, Outcome::PromptIsRefused};
    static const char *nameOf(Outcome outcome);

    static constexpr std::array versions{"26.2.4", "25.8.1", "25.8.2"};

    WalkDownloads();

    void connectTo(Seams &seams) const;

    std::atomic<Outcome> outcome = Outcome::Installed;
    std::atomic<int> promptsAnswered = 0;  ///< those that were agreed to

    /// What the update server answers from now on; a manifest without a version names none.
    struct Manifest {
        bool isOne = true;
        std::optional<std::int64_t> interval;
        std::optional<QByteArray> version;
    };
    void publish(const Manifest &manifest);
    /// The interval in the latest answer that was given.
    std::optional<std::int64_t> intervalAnswered() const;

    int openConnections() const { return server.openConnectionCount(); }

  private:
    class Tools;
    class Prompt;

    TestHttpsServer server;
    std::shared_ptr<ToolRunner> tools;
    std::shared_ptr<PrivilegedCopy> prompt;
    mutable std::mutex mutex;
    Manifest manifest;
    std::optional<std::int64_t> answered;
};

}  // namespace ferrolt
