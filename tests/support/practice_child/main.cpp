#include "Misbehaviour.h"
#include "Output.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace ferrolt::practice {

namespace {

/// Whatever becomes of a test, its children are gone after this.
constexpr unsigned childSeconds = 600;

Words given;

using Step = std::pair<const Misbehaviour *, Words>;

std::vector<Misbehaviour> allMisbehaviours() {
    std::vector<Misbehaviour> all;
    for (const auto list : {endings(), writings(), floodings(), neighbours(), reports()})
        all.insert(all.end(), list.begin(), list.end());
    return all;
}

void printHelp(const std::vector<Misbehaviour> &all) {
    std::string help =
        "usage: practice-child MISBEHAVIOUR [ARGUMENT...] [then MISBEHAVIOUR [ARGUMENT...]]...\n"
        "\n"
        "A child for tests. It does what the words say, one thing after the other, and ends with status 0 "
        "when\n"
        "there is nothing left to do. Without arguments, or with \"--vardir FOLDER\", it takes its words "
        "from the file\n"
        "beside it whose name is its own with \".behaviour\" appended; they may stand on several lines. "
        "Words that make\n"
        "no sense end it with status 64. It ends itself after ten minutes, by SIGALRM, if nobody else does.\n"
        "\n"
        "To begin with, all signals are as they were inherited, but those that an await-signal names are "
        "blocked.\n"
        "\n";
    for (const Misbehaviour &each : all) {
        help.append("  ").append(each.name).append(*each.arguments == '\0' ? "" : " ").append(each.arguments);
        for (const std::string_view text = each.help; const char character : '\n' + std::string(text))
            help.append(character == '\n' ? "\n      " : std::string(1, character));
        help.append("\n");
    }
    writeOut(help);
}

Words wordsOfFile(const std::string &path) {
    std::ifstream file(path);
    if (!file)
        refuse("it was given no words, and there is no file " + path);
    return {std::istream_iterator<std::string>(file), {}};
}

std::vector<Step> stepsOf(const Words &words, const std::vector<Misbehaviour> &all) {
    std::vector<Step> steps;
    for (auto word = words.begin(); word != words.end();) {
        const auto end = std::find(word, words.end(), "then");
        const auto known =
            std::ranges::find_if(all, [&](const Misbehaviour &each) { return *word == each.name; });
        if (known == all.end())
            refuse("no such misbehaviour: " + *word);
        const Words arguments(word + 1, end);
        if (std::ssize(arguments) < known->fewest ||
            (known->most >= 0 && std::ssize(arguments) > known->most))
            refuse("usage: " + *word + ' ' + known->arguments);
        steps.emplace_back(&*known, arguments);
        word = end == words.end() ? end : end + 1;
    }
    if (steps.empty())
        refuse("it was given no words");
    return steps;
}

void blockAwaitedSignals(const std::vector<Step> &steps) {
    for (const auto &[misbehaviour, arguments] : steps) {
        if (std::string_view(misbehaviour->name) != "await-signal")
            continue;
        sigset_t awaited;
        sigemptyset(&awaited);
        sigaddset(&awaited, static_cast<int>(numberIn(arguments[0], 1, NSIG - 1)));
        sigprocmask(SIG_BLOCK, &awaited, nullptr);
    }
}

}  // namespace

const Words &programArguments() {
    return given;
}

void refuse(const std::string &why) {
    writeTo(STDERR_FILENO, "practice-child: " + why + '\n');
    _exit(64);
}

long long numberIn(const std::string &word, long long least, long long most) {
    long long number = 0;
    const char *const end = word.data() + word.size();
    const auto [rest, problem] = std::from_chars(word.data(), end, number);
    if (problem != std::errc() || rest != end || number < least || number > most)
        refuse("not a number from " + std::to_string(least) + " to " + std::to_string(most) + ": " + word);
    return number;
}

}  // namespace ferrolt::practice

int main(int count, char **arguments) {
    using namespace ferrolt::practice;
    alarm(childSeconds);
    given.assign(arguments, arguments + count);
    const auto all = allMisbehaviours();
    if (count == 2 && given[1] == "--help") {
        printHelp(all);
        return 0;
    }
    const bool isStartedAsAnother = count == 1 || (count == 3 && given[1] == "--vardir");
    const Words words =
        isStartedAsAnother ? wordsOfFile(given[0] + ".behaviour") : Words(given.begin() + 1, given.end());
    const auto steps = stepsOf(words, all);
    blockAwaitedSignals(steps);
    for (const auto &[misbehaviour, stepArguments] : steps)
        misbehaviour->run(stepArguments);
    return 0;
}
