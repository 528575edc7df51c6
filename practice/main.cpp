// The practice program: everything that the launcher may start.
//
// A fresh checkout has it as Orbix and as qorclient, and under these names it is a media engine and a miner
// client. Under any other name it behaves as its first argument says, for tests and benchmarks. When the
// launcher starts it, a test cannot choose the arguments: the behaviour then stands in a file beside the
// program, named like the program with ".behaviour" appended.

#include "Misbehaviours.h"
#include "Output.h"
#include "StandIns.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

using namespace ferrolt::practice;

namespace {

Words wordsIn(const std::filesystem::path &path) {
    std::ifstream file(path);
    return {std::istream_iterator<std::string>(file), {}};
}

int misbehave(const Words &words) {
    std::string help = "usage: practice-child BEHAVIOUR [ARGUMENT]...\n\n";
    for (const Misbehaviour &misbehaviour : misbehaviours()) {
        if (!words.empty() && words.front() == misbehaviour.usage.substr(0, misbehaviour.usage.find(' ')))
            return misbehaviour.run({words.begin() + 1, words.end()});
        help += "  " + misbehaviour.usage + "\n      " + misbehaviour.description + '\n';
    }
    say(help);
    return 64;
}

}  // namespace

int main(int argc, char **argv) {
    try {
        const auto program = std::filesystem::canonical(argv[0]);
        const Words arguments(argv + 1, argv + argc);
        if (const Words words = wordsIn(program.string() + ".behaviour"); !words.empty())
            return misbehave(words);
        if (program.filename() == "Orbix")
            runEngine(program.parent_path());
        if (program.filename() == "qorclient")
            return runClient(program.parent_path(), arguments);
        return misbehave(arguments);
    } catch (const std::exception &failure) {
        sayLine(failure.what());
        return EXIT_FAILURE;
    }
}
