#include "Engine.h"

#include "Loopback.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrolt::practice {

namespace {

using std::chrono::milliseconds;

constexpr std::size_t mostSessions = 256;
constexpr std::chrono::seconds summaryInterval{15};

std::string inMilliseconds(Clock::duration time) {
    return std::to_string(std::chrono::duration_cast<milliseconds>(time).count());
}

}  // namespace

Engine::Engine(const EngineSettings &settings, const ProgramLog &log, const EndRequest &endRequest)
    : settings(settings), log(log), endRequest(endRequest), workers(settings.workers) {}

bool Engine::run() {
    if (endRequest.waitFor(settings.warmUp))
        return true;
    std::error_code failure;
    const int listener = listenOnLoopback(settings.port, failure);
    if (listener < 0) {
        log.error("cannot listen on 127.0.0.1:" + std::to_string(settings.port) + ": " + failure.message());
        return false;
    }
    log.info("listening on 127.0.0.1:" + std::to_string(settings.port));
    serve(listener);
    close(listener);
    return true;
}

void Engine::serve(int listener) {
    nextSummary = Clock::now() + summaryInterval;
    std::vector<pollfd> waited;
    while (!endRequest.hasCome()) {
        waited = {{endRequest.descriptor(), POLLIN, 0}, {listener, POLLIN, 0}};
        for (const Session &session : sessions)
            waited.push_back({session.socket.descriptor(), POLLIN, 0});
        poll(waited.data(), waited.size(), millisecondsUntilWork(Clock::now()));

        const auto now = Clock::now();
        auto event = waited.begin() + 2;
        for (auto session = sessions.begin(); session != sessions.end(); ++event) {
            deliverJobs(*session, now);
            const bool ends = event->revents != 0 && hear(*session) == Fate::Ends;
            if (ends)
                logEnd(*session);
            session = ends ? sessions.erase(session) : std::next(session);
        }
        if (waited[1].revents != 0)
            acceptConnections(listener);
        if (now >= nextSummary) {
            nextSummary = now + summaryInterval;
            const auto signedIn =
                std::ranges::count_if(sessions, [](const Session &each) { return each.number > 0; });
            log.info(std::to_string(signedIn) + " sessions, " + std::to_string(jobsDone) + " jobs done");
        }
    }
}

int Engine::millisecondsUntilWork(Clock::time_point now) const {
    auto next = nextSummary;
    for (const Session &session : sessions)
        for (const Job &job : session.jobs)
            next = std::min(next, job.due);
    return static_cast<int>(std::max(std::chrono::ceil<milliseconds>(next - now), milliseconds(0)).count());
}

void Engine::acceptConnections(int listener) {
    while (true) {
        const int descriptor = accept(listener, nullptr, nullptr);
        if (descriptor < 0) {
            const int problem = errno;
            if (problem == EMFILE || problem == ENFILE) {
                log.warning("no descriptor is left for a new connection");
                // The connection stays in the queue and keeps the listener readable: without a rest this
                // would spin.
                endRequest.waitFor(milliseconds(200));
            }
            return;
        }
        Session session{LineSocket(descriptor), 0, {}, {}};
        if (sessions.size() >= mostSessions) {
            session.socket.sendLine("ERROR too many connections");
            log.warning("a connection was refused: " + std::to_string(mostSessions) + " are open");
        } else if (session.socket.sendLine("ORBIX-PRACTICE 4.2 workers=" + std::to_string(workers.size()))) {
            sessions.push_back(std::move(session));
        }
    }
}

Engine::Fate Engine::hear(Session &session) {
    const bool isOpen = session.socket.receive();
    while (const auto line = session.socket.nextLine())
        if (answer(session, *line) == Fate::Ends)
            return Fate::Ends;
    return isOpen ? Fate::Stays : Fate::Ends;
}

Engine::Fate Engine::answer(Session &session, std::string_view line) {
    const auto blank = std::min(line.find(' '), line.size());
    const std::string_view word = line.substr(0, blank);
    const std::string rest(line.substr(std::min(blank + 1, line.size())));
    if (word == "BYE")
        return Fate::Ends;
    if (word == "HELLO" && session.number == 0) {
        session.number = ++sessionsSoFar;
        session.name = rest.empty() ? "unnamed" : rest;
        log.info("session " + std::to_string(session.number) + " opened for " + session.name);
        return session.socket.sendLine("WELCOME session=" + std::to_string(session.number)) ? Fate::Stays
                                                                                            : Fate::Ends;
    }
    if (word == "JOB" && session.number > 0 && !rest.empty())
        return takeJob(session, rest);
    log.warning("a request that is not understood: " + std::string(line.substr(0, 80)));
    return session.socket.sendLine("ERROR request not understood") ? Fate::Stays : Fate::Ends;
}

Engine::Fate Engine::takeJob(Session &session, const std::string &work) {
    const Job job = workers.take(Clock::now());
    log.info("job " + job.id + ": " + work);
    session.jobs.push_back(job);
    return session.socket.sendLine("ACCEPTED " + job.id) ? Fate::Stays : Fate::Ends;
}

void Engine::deliverJobs(Session &session, Clock::time_point now) {
    std::erase_if(session.jobs, [&](const Job &job) {
        if (job.due > now)
            return false;
        ++jobsDone;
        const std::string units = std::to_string(job.units);
        const std::string time = inMilliseconds(now - job.taken);
        log.info("job " + job.id + " done, " + units + " units in " + time + " ms");
        // A client that is gone is noticed when its socket is next heard.
        session.socket.sendLine("DONE " + job.id + " units=" + units + " ms=" + time);
        return true;
    });
}

void Engine::logEnd(const Session &session) const {
    if (session.number > 0)
        log.info("session " + std::to_string(session.number) + " closed");
}

}  // namespace ferrolt::practice
