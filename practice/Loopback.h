#pragma once

#include "LineSocket.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <system_error>

namespace ferrolt::practice {

class EndRequest;

/// The port that engine and client agree on when nothing names another.
constexpr int defaultPort = 9877;

/// Listens on 127.0.0.1. The descriptor, which never blocks, is the caller's to close; -1 with `failure` set
/// when the port cannot be had.
int listenOnLoopback(std::uint16_t port, std::error_code &failure);

/// Connects to a host given by name or address, waiting at most `patience` and no longer than until the
/// request to end comes. Nothing, with `failure` saying why in words, when it could not be done.
std::optional<LineSocket> connectTo(const std::string &host, std::uint16_t port,
                                    std::chrono::milliseconds patience, const EndRequest &endRequest,
                                    std::string &failure);

}  // namespace ferrolt::practice
