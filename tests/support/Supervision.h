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

/// A whole supervisor over practice children in a tree of its own. Time stands still unless a test moves it.
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
        // A wait for the port that is under way ends at its next look, and not in the middle of the next
        // test.
        vars.reset();
        time->advance(std::chrono::seconds(1));
    }

    AppVars &create() {
        Seams seams(alerts);
        seams.paths = tree.roots();
        seams.time = time;
        seams.servers.updateServer.clear();  // no valid address: a check ends without a look at the network
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

    /// What was handed to the main thread so far, and what that handed over in turn, has run.
    static void letTheMainQueueTurn() {
        for (int turn = 0; turn < 2; ++turn) {
            bool isOver = false;
            MainQueue::async([&] { isOver = true; });
            waitUntil([&] { return isOver; });
        }
    }

    /// The port waits that are under way have come to their ends, and to what follows from them.
    static void letTheBackgroundEnd() {
        letTheMainQueueTurn();
        waitUntil([] { return threadsNamed("background") == 0; });
        letTheMainQueueTurn();
    }

    /// Lets the port wait run out, in steps that its probes can follow.
    bool letThePortWaitRunOut() const {
        return waitUntil([&] {
            if (time->sleeping() > 0)
                time->advance(std::chrono::milliseconds(250));
            return clientLog().find("did not open") != std::string::npos;
        });
    }
};

}  // namespace ferrolt
