#pragma once

#include "FileDescriptor.h"

#include <cstdint>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace ferrolt {

/// Listens on a free port of the loopback address.
struct Listener {
    FileDescriptor socket{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::int64_t port = 0;

    Listener() {
        sockaddr_in at{};
        at.sin_family = AF_INET;
        at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof at;
        if (bind(socket.get(), reinterpret_cast<sockaddr *>(&at), size) == 0 &&
            listen(socket.get(), 64) == 0 &&
            getsockname(socket.get(), reinterpret_cast<sockaddr *>(&at), &size) == 0)
            port = ntohs(at.sin_port);
    }
};

}  // namespace ferrolt
