#pragma once

#include "ClientSettings.h"
#include "EndRequest.h"
#include "JobCatalogue.h"
#include "LineSocket.h"
#include "ProgramLog.h"

#include <chrono>
#include <deque>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace ferrolt::practice {

/// The practice client: keeps its connections to the engine, asks over one after the other for a job, and
/// logs what becomes of it. It contacts nobody but the engine.
///
/// States: connecting --all connections signed in--> working --one is lost--> connecting; left by the request
/// to end.
class Client {
  public:
    Client(const ClientSettings &settings, const ProgramLog &log, const EndRequest &endRequest);

    /// Returns once the request to end has come.
    void run();

  private:
    struct Link {
        LineSocket socket;
        std::deque<std::string> asked;                // not yet accepted, oldest first
        std::map<std::string, std::string> underWay;  // by the engine's id
    };

    bool connectAll(std::string &failure);
    bool signIn(Link &link, std::string &failure) const;
    void work();
    bool hear(Link &link);
    void hearLine(Link &link, const std::string &line);
    bool askForJob();

    const ClientSettings &settings;
    const ProgramLog &log;
    const EndRequest &endRequest;
    JobCatalogue catalogue;
    std::mt19937 chance;
    std::vector<Link> links;
    std::size_t nextLink = 0;
    long unitsSoFar = 0;
};

}  // namespace ferrolt::practice
