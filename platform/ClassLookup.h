#pragma once

namespace ferrolt {

/// Whether a class of this name is present in the process. Where classes have no names at run time, a symbol
/// of the name that the process exports stands for it.
bool isClassPresent(const char *name);

}  // namespace ferrolt
