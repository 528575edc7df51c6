#include "PortProbe.h"

#include "FileDescriptor.h"
#include "MainQueue.h"

#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace ferrolt {

namespace {

/// A connect() that a signal interrupts continues in the kernel; when it ends the socket becomes writable.
bool connectionCompletes(int socket) {
    pollfd event{socket, POLLOUT, 0};
    while (poll(&event, 1, -1) < 0) {
        if (errno != EINTR)
            return false;
    }
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

/// If no program listens, the system may choose the port that is tried as the local port and so connect the
/// socket with itself (TCP simultaneous open). That is no engine, and would occupy the engine's port.
bool isConnectedToItself(int socket, const sockaddr_in &peer) {
    sockaddr_in own{};
    socklen_t size = sizeof own;
    return getsockname(socket, reinterpret_cast<sockaddr *>(&own), &size) == 0 &&
           own.sin_port == peer.sin_port && own.sin_addr.s_addr == peer.sin_addr.s_addr;
}

}  // namespace

bool probePort(const std::string &host, std::int64_t port) {
    assertNotMainThread();
    const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    if (!socket.isValid() || port < 0 || port > 65535)
        return false;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1)
        return false;
    const int result = connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address);
    const bool connected = result == 0 || (errno == EINTR && connectionCompletes(socket.get()));
    return connected && !isConnectedToItself(socket.get(), address);
}

}  // namespace ferrolt
