#pragma once

#include "EndRequest.h"
#include "LineSocket.h"
#include "ProgramLog.h"
#include "WorkerPool.h"

#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace ferrolt::practice {

struct EngineSettings {
    std::uint16_t port = 0;
    std::chrono::milliseconds warmUp{1000};
    int workers = 8;
};

/// The practice engine: one loop that accepts connections on 127.0.0.1 and answers the requests for jobs that
/// come over them. Its protocol is a line for a line:
///
///     engine: ORBIX-PRACTICE 4.2 workers=8         on each new connection
///     client: HELLO <name>                         engine: WELCOME session=<number>
///     client: JOB <kind> <title>                   engine: ACCEPTED <id>
///                                                  engine: DONE <id> units=<number> ms=<number>     later
///     client: BYE                                  engine closes
///     anything else                                engine: ERROR <words>
///
/// A connection that says nothing is a look at the port and leaves no trace in the log.
class Engine {
  public:
    Engine(const EngineSettings &settings, const ProgramLog &log, const EndRequest &endRequest);

    /// Warms up, listens and serves until the request to end comes. False, with the reason in the log, when
    /// the port cannot be had.
    bool run();

  private:
    struct Session {
        LineSocket socket;
        int number = 0;    // given with the greeting; 0 before
        std::string name;  // what the client calls itself
        std::vector<Job> jobs;
    };
    enum class Fate { Stays, Ends };

    void serve(int listener);
    void acceptConnections(int listener);
    Fate hear(Session &session);
    Fate answer(Session &session, std::string_view line);
    Fate takeJob(Session &session, const std::string &work);
    void deliverJobs(Session &session, Clock::time_point now);
    void logEnd(const Session &session) const;
    int millisecondsUntilWork(Clock::time_point now) const;

    EngineSettings settings;
    const ProgramLog &log;
    const EndRequest &endRequest;
    WorkerPool workers;
    std::list<Session> sessions;
    int sessionsSoFar = 0;
    int jobsDone = 0;
    Clock::time_point nextSummary;
};

}  // namespace ferrolt::practice
