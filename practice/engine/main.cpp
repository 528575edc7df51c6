#include "EndRequest.h"
#include "Engine.h"
#include "Loopback.h"
#include "ProgramLog.h"
#include "PropertiesFile.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>

using namespace ferrolt::practice;

namespace {

std::filesystem::path settingsPath(const char *program) {
    std::error_code failure;
    auto executable = std::filesystem::canonical(program, failure);
    return executable.parent_path().parent_path() / "Properties" / "local.properties";
}

/// The settings of the practice tree that this engine stands in; false, with the reason in the log, when they
/// cannot be used. A file that is missing, or that does not name a key, is no reason: the defaults hold then,
/// as they do for the launcher that waits for the port.
bool readSettings(const std::filesystem::path &path, EngineSettings &settings, ProgramLog &log) {
    const auto file = PropertiesFile::read(path);
    if (file.failure())
        log.warning("cannot read " + path.string() + ": " + file.failure().message() + "; the defaults hold");
    struct Key {
        const char *name;
        int least, most, fallback, value;
    };
    Key port{"MediaSocketPort", 1, 65535, defaultPort, 0};
    Key warmUp{"WarmUpMilliseconds", 0, 600000, 1000, 0};
    Key workers{"WorkerCount", 1, 64, 8, 0};
    Key level{"LogLevel", 0, 4, 3, 0};
    for (Key *key : {&port, &warmUp, &workers, &level}) {
        const auto number = file.number(key->name, key->least, key->most, key->fallback);
        if (number.state == PropertiesFile::NumberState::Unusable) {
            log.error(path.string() + ": " + key->name + " is not a number from " +
                      std::to_string(key->least) + " to " + std::to_string(key->most) + ": " +
                      file.text(key->name));
            return false;
        }
        key->value = number.value;
    }
    settings.port = static_cast<std::uint16_t>(port.value);
    settings.warmUp = std::chrono::milliseconds(warmUp.value);
    settings.workers = workers.value;
    log.setLevel(static_cast<LogLevel>(level.value));
    return true;
}

}  // namespace

int main(int, char **arguments) {
    const EndRequest endRequest;
    std::signal(SIGPIPE, SIG_IGN);
    ProgramLog log("[engine] ", endRequest);

    log.info("practice media engine 4.2 starting: it stands in for Orbix and does no real work");
    EngineSettings settings;
    if (!readSettings(settingsPath(arguments[0]), settings, log))
        return EXIT_FAILURE;
    log.info("worker pool: " + std::to_string(settings.workers) +
             " workers\nfonts and captions: Latin, Ελληνικά, Кириллица, ქართული, 😀");
    if (!Engine(settings, log, endRequest).run())
        return EXIT_FAILURE;
    log.info("asked to end, goodbye");
    endRequest.end();
}
