#pragma once

#include "AlertPresenter.h"
#include "PathRoots.h"
#include "PrivilegedCopy.h"
#include "ServerAddresses.h"
#include "SettingsStore.h"
#include "TimeSource.h"
#include "ToolRunner.h"

#include <QByteArray>

#include <filesystem>
#include <functional>
#include <memory>

namespace ferrolt {

/// What AppVars is handed at construction and a test may replace. Every default is the production value.
struct Seams {
    /// `alerts` must not be null: the windows that show them belong to a room that this one does not know.
    explicit Seams(std::shared_ptr<AlertPresenter> alerts);

    std::shared_ptr<AlertPresenter> alerts;
    PathRoots paths;
    std::shared_ptr<TimeSource> time = systemTime();
    ServerAddresses servers;
    QByteArray extraAuthorities;  ///< PEM certificates that the servers may show besides the system's
    std::shared_ptr<SettingsStore> settings = SettingsStore::ofUser();
    std::shared_ptr<ToolRunner> tools = systemToolRunner();
    std::shared_ptr<PrivilegedCopy> privilegedCopy = systemPrivilegedCopy();
    std::filesystem::path temporaryFolder;  ///< the user's own, or the system's
    std::function<void()> terminateApplication;
};

}  // namespace ferrolt
