#pragma once

#include <string>

namespace ferrolt::practice {

/// Writes all of it to standard output, in one write() as long as the pipe takes it. Ends the program when
/// nobody reads.
void say(const std::string &bytes);

/// Writes a line. Control characters in it, which may come from another program, become "?": a terminal would
/// obey them.
void sayLine(std::string line);

}  // namespace ferrolt::practice
