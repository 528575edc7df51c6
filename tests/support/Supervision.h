#pragma once

#include "AppVars.h"
#include "MainQueue.h"
#include "ManualTime.h"
#include "Process.h"
#include "ProcessFacts.h"
#include "RecordingAlerts.h"
#include "TestTree.h"
#include "Waiting.h"

#include <QString>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace ferrolt {

/// A supervisor with practice children in a file tree of its own. Time stands still unless a test moves it.
struct Supervision {
    TestTree tree;
    std::shared_ptr<ManualTime> time = std::make_shared<ManualTime>();
    std::shared_ptr<RecordingAlerts> alerts = std::make_shared<RecordingAlerts>();
    int terminations = 0;  ///< how often the application was asked to end
    std::function<void(Seams &)> adjustSeams = [](Seams &) {};
    std::shared_ptr<AppVars> vars;

    explicit Supervision(const std::string &engine = "wait", const std::string &client = "wait") {
        TestTree::installChild(tree.engine(), engine);
        TestTree::installChild(tree.client(), client);
        tree.writeIdentity("ada@example.org", "Ada Lovelace");
    }

    ~Supervision() {
        if (!vars)
            return;
        const auto engine = vars->_lump.get();
        const auto client = vars->_qorcp.get();
        vars->stopAll();
        for (const auto &child : {engine, client}) {
            if (child)
                child->waitUntilExit();
        }
        // Ends a running port wait, which would otherwise go on during the next test.
        vars.reset();
        time->advance(std::chrono::seconds(1));
    }

    AppVars &create() {
        Seams seams(alerts);
        seams.paths = tree.roots();
        seams.time = time;
        seams.servers.updateServer.clear();  // an invalid address: a check ends without the network
        seams.terminateApplication = [this] { ++terminations; };
        adjustSeams(seams);
        vars = std::make_shared<AppVars>(std::move(seams));
        return *vars;
    }

    AppVars &start() {
        create().startServices();
        return *vars;
    }

    static std::string text(const LogBuffer &log) { return log.joined().toStdString(); }
    std::string engineLog() const { return text(vars->lumoraLog()); }
    std::string clientLog() const { return text(vars->qorClientLog()); }

    bool waitForEngineLog(const std::string &part) const {
        return waitUntil([&] { return engineLog().find(part) != std::string::npos; });
    }
    bool waitForClientLog(const std::string &part) const {
        return waitUntil([&] { return clientLog().find(part) != std::string::npos; });
    }

    /// Runs everything that is in the main queue, and what that adds to it.
    static void letTheMainQueueTurn() {
        for (int turn = 0; turn < 2; ++turn) {
            bool isOver = false;
            MainQueue::async([&] { isOver = true; });
            waitUntil([&] { return isOver; });
        }
    }

    /// Waits for the end of running port waits and for their results.
    static void letTheBackgroundEnd() {
        letTheMainQueueTurn();
        waitUntil([] { return threadsNamed("background") == 0; });
        letTheMainQueueTurn();
    }

    /// Lets the port wait time out, one probe interval at a time.
    bool letThePortWaitRunOut() const {
        // Without the event loop, whose turns would take seconds for the 120 probes.
        if (!waitWithoutEvents([&] { return time->sleeping() > 0; }))
            return false;
        while (time->sleeping() > 0) {
            time->advance(std::chrono::milliseconds(250));
            waitWithoutEvents([&] { return time->sleeping() > 0 || threadsNamed("background") == 0; });
        }
        return waitForClientLog("did not open");
    }
};

}  // namespace ferrolt
