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

/// The dependencies of AppVars that a test may replace. Every default is the production value.
struct Seams {
    /// `alerts` must not be null. It has no default: its windows belong to a module that this one does not
    /// link.
    explicit Seams(std::shared_ptr<AlertPresenter> alerts);

    std::shared_ptr<AlertPresenter> alerts;
    PathRoots paths;
    std::shared_ptr<TimeSource> time = systemTime();
    ServerAddresses servers;
    QByteArray extraAuthorities;  ///< PEM; trusted in addition to the system's certificate authorities
    std::shared_ptr<SettingsStore> settings = SettingsStore::ofUser();
    std::shared_ptr<ToolRunner> tools = systemToolRunner();
    std::shared_ptr<PrivilegedCopy> privilegedCopy = systemPrivilegedCopy();
    std::filesystem::path temporaryFolder;       ///< QDir::tempPath()
    std::function<void()> terminateApplication;  ///< QCoreApplication::quit()
};

}  // namespace ferrolt
