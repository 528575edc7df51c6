// A child with named misbehaviours, for the tests of everything that starts, reads and stops children.
//
// Started without arguments, or as the launcher starts its client ("--vardir FOLDER"), it takes its
// misbehaviour from the file beside it that has its own name and ".behaviour".

#include "Misbehaviours.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

std::vector<std::string> wordsBesideTheProgram() {
    char path[4096] = {};
    if (readlink("/proc/self/exe", path, sizeof path - 1) < 0)
        return {};
    std::ifstream file(std::string(path) + ".behaviour");
    std::vector<std::string> words;
    for (std::string word; file >> word;)
        words.push_back(word);
    return words;
}

int help() {
    std::cout << "practice-child MISBEHAVIOUR [ARGUMENT]...\n\n";
    for (const Misbehaviour &misbehaviour : misbehaviours())
        std::cout << "  " << misbehaviour.usage << "\n      " << misbehaviour.description << "\n";
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty() || words.front() == "--vardir")
        words = wordsBesideTheProgram();
    if (words.empty() || words.front() == "--help")
        return help();
    for (const Misbehaviour &misbehaviour : misbehaviours()) {
        if (misbehaviour.usage.substr(0, misbehaviour.usage.find(' ')) == words.front())
            return misbehaviour.run({words.begin() + 1, words.end()}, {argv, argv + argc});
    }
    std::cerr << "practice-child: no such misbehaviour: " << words.front() << std::endl;
    return 64;
}
