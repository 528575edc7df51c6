#include "ClientSettings.h"

#include "Loopback.h"
#include "PropertiesFile.h"

#include <unistd.h>

namespace ferrolt::practice {

namespace {

constexpr int lastPort = 65535;

std::string hostName() {
    char name[256] = {};
    return gethostname(name, sizeof name - 1) == 0 ? name : "this machine";
}

int portOfPracticeTree(const std::filesystem::path &clientFolder) {
    const auto engine = clientFolder.parent_path() / "Tandril" / "LumoraCore";
    const auto file = PropertiesFile::read(engine / "Properties" / "local.properties");
    return file.number("MediaSocketPort", 1, lastPort, defaultPort).value;
}

}  // namespace

std::optional<ClientSettings> ClientSettings::read(const std::filesystem::path &varFolder,
                                                   const std::filesystem::path &clientFolder,
                                                   const ProgramLog &log) {
    const auto path = varFolder / "MinerClient.properties";
    const auto file = PropertiesFile::read(path);
    if (file.failure()) {
        log.error("cannot read " + path.string() + ": " + file.failure().message());
        return std::nullopt;
    }
    const auto number = [&](const char *key, int least, int most, int fallback) -> std::optional<int> {
        const auto found = file.number(key, least, most, fallback);
        if (found.state != PropertiesFile::NumberState::Unusable)
            return found.value;
        log.error(path.string() + ": " + key + " is not a number from " + std::to_string(least) + " to " +
                  std::to_string(most) + ": " + file.text(key));
        return std::nullopt;
    };
    const auto connections = number("MaxQorConnections", 1, 64, 8);
    const auto level = number("LogLevel", 0, 4, 3);
    const auto port = number("OrbixPort", 1, lastPort, portOfPracticeTree(clientFolder));
    if (!connections || !level || !port)
        return std::nullopt;

    ClientSettings settings;
    settings.emailAddress = file.text("MinerEmailAddress");
    settings.entityName = file.text("MinerEntityName");
    settings.displayName = file.text("MinerDisplayName");
    if (settings.emailAddress.empty() || settings.entityName.empty()) {
        log.error(path.string() + " names no miner: MinerEmailAddress and MinerEntityName are needed");
        return std::nullopt;
    }
    if (settings.displayName.empty())
        settings.displayName = hostName();
    settings.connections = *connections;
    settings.level = static_cast<LogLevel>(*level);
    settings.engineHost = file.text("OrbixHost");
    if (settings.engineHost.empty())
        settings.engineHost = "127.0.0.1";
    settings.enginePort = static_cast<std::uint16_t>(*port);
    return settings;
}

}  // namespace ferrolt::practice
