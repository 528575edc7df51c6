#include "Client.h"

#include "Loopback.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <poll.h>

namespace ferrolt::practice {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds connectPatience = 5s;
constexpr milliseconds firstPause = 500ms;
constexpr milliseconds longestPause = 10s;

/// "7f3a" in "DONE 7f3a units=12 ms=431".
std::string wordOf(std::string_view line, int index) {
    for (; index > 0; --index)
        line.remove_prefix(std::min(line.find(' ') + 1, line.size()));
    return std::string(line.substr(0, line.find(' ')));
}

/// 12 in "units=12"; 0 when there is no number.
long numberOf(const std::string &assignment) {
    return std::strtol(assignment.substr(std::min(assignment.find('=') + 1, assignment.size())).c_str(),
                       nullptr, 10);
}

milliseconds until(Clock::time_point time) {
    return std::max(std::chrono::ceil<milliseconds>(time - Clock::now()), 0ms);
}

}  // namespace

Client::Client(const ClientSettings &settings, const ProgramLog &log, const EndRequest &endRequest)
    : settings(settings), log(log), endRequest(endRequest), chance(std::random_device{}()) {}

void Client::run() {
    const std::string engine = settings.engineHost + ":" + std::to_string(settings.enginePort);
    auto pause = firstPause;
    while (!endRequest.hasCome()) {
        std::string failure;
        if (connectAll(failure)) {
            pause = firstPause;
            log.info("connected to " + engine + " (" + std::to_string(links.size()) + " connections)");
            work();
            continue;
        }
        if (endRequest.hasCome())
            return;
        std::string line = "no connection to " + engine;
        line.append(": ").append(failure).append("; next try in ");
        line.append(std::to_string(pause.count())).append(" ms");
        log.warning(line);
        endRequest.waitFor(pause);
        // An engine that is away for long is not knocked at all the time.
        pause = std::min(pause * 2, longestPause);
    }
}

bool Client::connectAll(std::string &failure) {
    links.clear();
    nextLink = 0;
    while (std::cmp_less(links.size(), settings.connections)) {
        auto socket =
            connectTo(settings.engineHost, settings.enginePort, connectPatience, endRequest, failure);
        if (!socket)
            return false;
        links.push_back({std::move(*socket), {}, {}});
        if (!signIn(links.back(), failure))
            return false;
    }
    return true;
}

bool Client::signIn(Link &link, std::string &failure) const {
    bool isGreeted = false;
    for (const auto deadline = Clock::now() + connectPatience; Clock::now() < deadline;) {
        while (const auto line = link.socket.nextLine()) {
            if (line->starts_with("WELCOME "))
                return true;
            if (isGreeted || !line->starts_with("ORBIX-PRACTICE ")) {
                failure = "what listens there is no practice engine, or has no room";
                return false;
            }
            isGreeted = true;
            link.socket.sendLine("HELLO " + settings.displayName);
        }
        pollfd waited[] = {{endRequest.descriptor(), POLLIN, 0}, {link.socket.descriptor(), POLLIN, 0}};
        poll(waited, 2, static_cast<int>(until(deadline).count()));
        if (endRequest.hasCome())
            return false;
        if (waited[1].revents != 0 && !link.socket.receive()) {
            failure = "the connection was closed before the greeting";
            return false;
        }
    }
    failure = "no greeting came";
    return false;
}

void Client::work() {
    const auto soon = [this] {
        return Clock::now() + milliseconds(std::uniform_int_distribution(1000, 2000)(chance));
    };
    auto nextJob = soon();
    std::vector<pollfd> waited;
    while (!endRequest.hasCome()) {
        waited = {{endRequest.descriptor(), POLLIN, 0}};
        for (const Link &link : links)
            waited.push_back({link.socket.descriptor(), POLLIN, 0});
        poll(waited.data(), waited.size(), static_cast<int>(until(nextJob).count()));

        bool allStand = true;
        for (std::size_t index = 0; index < links.size(); ++index)
            if (waited[index + 1].revents != 0)
                allStand = hear(links[index]) && allStand;
        if (allStand && Clock::now() >= nextJob) {
            nextJob = soon();
            allStand = askForJob();
        }
        if (!allStand) {
            log.warning("the engine has closed a connection; connecting anew");
            return;
        }
    }
}

bool Client::askForJob() {
    Link &link = links[nextLink];
    nextLink = (nextLink + 1) % links.size();
    const std::string job = catalogue.draw();
    log.debug("asking for " + job);
    link.asked.push_back(job);
    return link.socket.sendLine("JOB " + job);
}

bool Client::hear(Link &link) {
    const bool isOpen = link.socket.receive();
    while (const auto line = link.socket.nextLine())
        hearLine(link, *line);
    return isOpen;
}

void Client::hearLine(Link &link, const std::string &line) {
    const std::string id = wordOf(line, 1);
    if (line.starts_with("ACCEPTED ") && !link.asked.empty()) {
        log.info("job " + id + " accepted: " + link.asked.front());
        link.underWay[id] = link.asked.front();
        link.asked.pop_front();
    } else if (line.starts_with("DONE ") && link.underWay.erase(id) > 0) {
        const long units = numberOf(wordOf(line, 2));
        unitsSoFar += units;
        log.info("job " + id + " done, " + std::to_string(units) + " units\n" + std::to_string(unitsSoFar) +
                 " units since the start");
    } else {
        log.warning("the engine said: " + line);
    }
}

}  // namespace ferrolt::practice
