#include "Loopback.h"
#include "Output.h"
#include "Properties.h"
#include "StandIns.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace ferrolt::practice {

namespace {

using namespace std::chrono_literals;

constexpr std::array titles = {"transcode დილა თბილისში.mov → 720p", "thumbnail Übersicht – Frühjahr.pdf",
                               "caption Привет, мир.srt", "waveform café de l’été ☕.flac",
                               "poster Σαββατοκύριακο 😀.mp4"};

void log(const std::string &line) {
    sayLine("[client] " + line);
}

/// Asks for jobs until the engine closes the connection.
void work(int connection, const std::string &name) {
    LineSocket engine(connection);
    engine.writeLine("HELLO " + name);
    auto answer = engine.readLine();
    for (std::size_t count = 0; answer; ++count) {
        std::this_thread::sleep_for(1s);
        const std::string title = titles[count % titles.size()];
        log("asking for " + title);
        engine.writeLine("JOB " + title);
        answer = engine.readLine();
        if (answer)
            log("the engine says " + *answer);
    }
}

}  // namespace

int runClient(const std::filesystem::path &folder, const std::vector<std::string> &arguments) {
    std::signal(SIGPIPE, SIG_IGN);  // an engine that has gone must not end the client
    log("practice client 4.2 starting: it stands in for qorclient and contacts no node server");
    if (arguments.size() != 2 || arguments[0] != "--vardir") {
        log("usage: qorclient --vardir FOLDER");
        return 2;
    }
    const auto file = std::filesystem::path(arguments[1]) / "MinerClient.properties";
    const Properties settings(file);
    const std::string email = settings.text("MinerEmailAddress");
    const std::string entity = settings.text("MinerEntityName");
    if (email.empty() || entity.empty())
        throw std::runtime_error(file.string() +
                                 " names no miner: MinerEmailAddress and MinerEntityName are needed");
    const std::string displayName = settings.text("MinerDisplayName");
    const std::string name = displayName.empty() ? entity : displayName;
    log("miner " + name + ", operated by " + entity + " <" + email + ">");

    const Properties engine(folder.parent_path() / "Tandril/LumoraCore/Properties/local.properties");
    const int port =
        settings.number("OrbixPort", 1, maxPort, engine.number("MediaSocketPort", 1, maxPort, defaultPort));
    const std::string address = "127.0.0.1:" + std::to_string(port);
    for (;; std::this_thread::sleep_for(1s)) {
        const int connection = connectToLoopback(port);
        if (connection < 0) {
            log("no connection to " + address + ": " + std::strerror(errno) + "; next try in a second");
            continue;
        }
        log("connected to " + address);
        work(connection, name);
        log("the engine has closed the connection; connecting anew");
    }
}

}  // namespace ferrolt::practice
