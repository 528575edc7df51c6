#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ferrolt::practice {

/// The practice engine. It reads its port and its warm-up time from "Properties/local.properties" beside
/// `folder`, which holds its program, listens on 127.0.0.1 after the warm-up, and serves until a signal ends
/// it. It throws std::exception when a setting is unusable or the port is taken. Its protocol:
///
///     client: HELLO <name>      engine: WELCOME
///     client: JOB <title>       engine: DONE <number>, after a moment
///     anything else             engine: ERROR request not understood
///
/// A connection that says nothing, such as the launcher's port probe, leaves no trace in the log.
[[noreturn]] void runEngine(const std::filesystem::path &folder);

/// The practice client. It reads the miner's identity from the folder that its arguments name ("--vardir
/// FOLDER"), and asks the engine for one job after the other, until a signal ends it. It connects to
/// 127.0.0.1 only: to the port that its file names, or else to that of the engine beside `folder`, which
/// holds its program. Returns its exit code when the arguments are wrong; throws std::exception when the file
/// is unusable.
int runClient(const std::filesystem::path &folder, const std::vector<std::string> &arguments);

}  // namespace ferrolt::practice
