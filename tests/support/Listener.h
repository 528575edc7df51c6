#pragma once

#include "FileDescriptor.h"

#include <cstdint>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace ferrolt {

/// A port of the loopback address that nobody listens on and nobody else is given.
struct ClosedPort {
    FileDescriptor socket{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::int64_t port = 0;

    ClosedPort() {
        sockaddr_in at{};
        at.sin_family = AF_INET;
        at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof at;
        if (bind(socket.get(), reinterpret_cast<sockaddr *>(&at), size) == 0 &&
            getsockname(socket.get(), reinterpret_cast<sockaddr *>(&at), &size) == 0)
            port = ntohs(at.sin_port);
    }
};

/// Listens on a free port of the loopback address.
struct Listener : ClosedPort {
    Listener() { listen(socket.get(), 64); }
};

}  // namespace ferrolt
