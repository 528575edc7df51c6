#pragma once

#include <string_view>

namespace ferrolt::practice {

/// Writes all of `bytes` to standard output, in one write as far as the pipe takes it. A pipe that nobody
/// reads any more ends the child by SIGPIPE, as it would any program.
void writeOut(std::string_view bytes);

/// The same for another descriptor.
void writeTo(int descriptor, std::string_view bytes);

}  // namespace ferrolt::practice
