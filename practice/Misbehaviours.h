#pragma once

#include <string>
#include <vector>

namespace ferrolt::practice {

using Words = std::vector<std::string>;

struct Misbehaviour {
    std::string usage;  ///< its name, then its arguments
    std::string description;
    int (*run)(const Words &arguments);  ///< returns the exit code
};

const std::vector<Misbehaviour> &misbehaviours();

/// What this process was given: descriptors, signals, folder, environment, command line.
std::string factsAboutThisProcess();

}  // namespace ferrolt::practice
