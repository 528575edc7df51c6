#include "Client.h"
#include "ClientSettings.h"
#include "EndRequest.h"
#include "ProgramLog.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string_view>

using namespace ferrolt::practice;

int main(int count, char **arguments) {
    const EndRequest endRequest;
    std::signal(SIGPIPE, SIG_IGN);
    ProgramLog log("[client] ", endRequest);
    log.info("practice client 4.2 starting: it stands in for qorclient and contacts no node server");
    if (count != 3 || std::string_view(arguments[1]) != "--vardir") {
        log.error("usage: qorclient --vardir FOLDER");
        return 2;
    }

    std::error_code failure;
    const auto executable = std::filesystem::canonical(arguments[0], failure);
    const auto settings = ClientSettings::read(arguments[2], executable.parent_path(), log);
    if (!settings)
        return EXIT_FAILURE;
    log.setLevel(settings->level);
    log.info("miner " + settings->displayName + ", operated by " + settings->entityName + " <" +
             settings->emailAddress + ">");
    Client(*settings, log, endRequest).run();
    log.info("asked to end, goodbye");
    endRequest.end();
}
