#pragma once

#include "LogBuffer.h"

#include <string>

#include <sys/types.h>

namespace ferrolt::bench {

/// Stops a flooding child and ends this program unless the text in its log becomes, to the last character,
/// what the child wrote last. A rate without decoding would be worth nothing. Main thread; the child
/// goes on afterwards.
void requireFloodInLog(pid_t child, const LogBuffer &log, const std::string &kind = {});

}  // namespace ferrolt::bench
