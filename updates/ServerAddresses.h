#pragma once

#include <QString>

namespace ferrolt {

/// The servers that the launcher downloads from: base URLs, without a slash at the end. A default-constructed
/// value is what the program was built with.
struct ServerAddresses {
    ServerAddresses();

    QString updateServer;       ///< publishes the deployment manifest
    QString libreOfficeServer;  ///< publishes the Metalink documents
};

}  // namespace ferrolt
