#pragma once

#include <functional>
#include <string>
#include <vector>

using Words = std::vector<std::string>;

struct Misbehaviour {
    std::string usage;  ///< its name, then its arguments
    std::string description;
    /// Returns the exit code. `commandLine` is the program's whole one.
    std::function<int(const Words &arguments, const Words &commandLine)> run;
};

const std::vector<Misbehaviour> &misbehaviours();

/// Writes all of it to standard output at once, as far as a pipe lets it.
void say(const std::string &bytes);

/// Tells what this process was given: descriptors, signals, folder, environment, command line.
std::string factsAboutThisProcess(const Words &commandLine);
