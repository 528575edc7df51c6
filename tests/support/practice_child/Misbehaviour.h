#pragma once

#include <span>
#include <string>
#include <vector>

namespace ferrolt::practice {

using Words = std::vector<std::string>;

/// Something that a child may do to the one that started it. It returns when it is over, if it ever is.
struct Misbehaviour {
    const char *name;
    const char *arguments;  ///< as the help shows them
    int fewest, most;       ///< number of arguments; `most` is -1 where there is no bound
    const char *help;
    void (*run)(const Words &arguments);
};

// One list for each file of the same name.
std::span<const Misbehaviour> endings();
std::span<const Misbehaviour> writings();
std::span<const Misbehaviour> floodings();
std::span<const Misbehaviour> neighbours();
std::span<const Misbehaviour> reports();

/// What the child was started with, its own name first.
const Words &programArguments();

/// Ends the child with status 64 and a message on standard error: the words that it was started with make no
/// sense.
[[noreturn]] void refuse(const std::string &why);

/// The number in `word`, from `least` to `most`; refuses anything else.
long long numberIn(const std::string &word, long long least, long long most);

}  // namespace ferrolt::practice
