#include "Loopback.h"
#include "Output.h"
#include "Properties.h"
#include "StandIns.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include <sys/socket.h>

namespace ferrolt::practice {

namespace {

using namespace std::chrono_literals;

std::atomic<int> sessionsSoFar = 0;
std::atomic<int> jobsSoFar = 0;

void log(const std::string &line) {
    sayLine("[engine] " + line);
}

/// Answers one client until it closes the connection.
void serve(int connection) {
    LineSocket client(connection);
    int session = 0;
    while (const auto request = client.readLine()) {
        if (request->starts_with("HELLO ") && session == 0) {
            session = ++sessionsSoFar;
            log("session " + std::to_string(session) + " opened for " + request->substr(6));
            client.writeLine("WELCOME");
        } else if (request->starts_with("JOB ") && session > 0) {
            const std::string number = std::to_string(++jobsSoFar);
            log("job " + number + ": " + request->substr(4));
            std::this_thread::sleep_for(400ms);
            log("job " + number + " done");
            client.writeLine("DONE " + number);
        } else {
            log("a request that is not understood: " + *request);
            client.writeLine("ERROR request not understood");
        }
    }
    if (session > 0)
        log("session " + std::to_string(session) + " closed");
}

}  // namespace

void runEngine(const std::filesystem::path &folder) {
    std::signal(SIGPIPE, SIG_IGN);  // a client that has gone must not end the engine
    log("practice media engine 4.2 starting: it stands in for Orbix and does no real work");
    const Properties settings(folder.parent_path() / "Properties/local.properties");
    const int port = settings.number("MediaSocketPort", 1, maxPort, defaultPort);
    std::this_thread::sleep_for(
        std::chrono::milliseconds(settings.number("WarmUpMilliseconds", 0, 600'000, 1000)));
    const int listener = listenOnLoopback(port);
    log("listening on 127.0.0.1:" + std::to_string(port));
    for (;;) {
        const int connection = accept(listener, nullptr, nullptr);
        if (connection >= 0)
            std::thread(serve, connection).detach();
        else
            std::this_thread::sleep_for(200ms);  // no descriptor is left: accept() would fail again at once
    }
}

}  // namespace ferrolt::practice
