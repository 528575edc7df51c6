#pragma once

#include <QString>

namespace ferrolt {

/// The servers' base URLs, without a slash at the end. The defaults are those of the build.
struct ServerAddresses {
    ServerAddresses();

    QString updateServer;       ///< publishes the deployment manifest
    QString libreOfficeServer;  ///< publishes the Metalink documents
};

}  // namespace ferrolt
