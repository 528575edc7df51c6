#pragma once

#include "ProgramLog.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace ferrolt::practice {

/// What the practice client takes from MinerClient.properties.
struct ClientSettings {
    std::string emailAddress;
    std::string entityName;
    std::string displayName;  ///< the machine's host name when the file leaves it empty
    int connections = 8;
    LogLevel level = LogLevel::Info;
    std::string engineHost;  ///< 127.0.0.1 when the file leaves it empty
    std::uint16_t enginePort = 0;

    /// Reads the file in `varFolder`. `clientFolder` is the folder of the client's own executable: where the
    /// file names no port, the one of the practice tree around that folder holds. Nothing, with the reason in
    /// the log, when the file cannot be read or says something unusable.
    static std::optional<ClientSettings> read(const std::filesystem::path &varFolder,
                                              const std::filesystem::path &clientFolder,
                                              const ProgramLog &log);
};

}  // namespace ferrolt::practice
