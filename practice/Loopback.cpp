#include "Loopback.h"

#include "EndRequest.h"

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrolt::practice {

namespace {

std::error_code systemError(int code) {
    return {code, std::generic_category()};
}

/// Waits for a connection that is under way. 0 when it stands, else an errno value.
int outcomeOfConnect(int socket, std::chrono::milliseconds patience, const EndRequest &endRequest) {
    pollfd waited[] = {{socket, POLLOUT, 0}, {endRequest.descriptor(), POLLIN, 0}};
    const int ready = poll(waited, 2, static_cast<int>(patience.count()));
    if (ready == 0)
        return ETIMEDOUT;
    if (ready < 0 || waited[0].revents == 0)
        return EINTR;
    int outcome = 0;
    socklen_t size = sizeof outcome;
    getsockopt(socket, SOL_SOCKET, SO_ERROR, &outcome, &size);
    return outcome;
}

}  // namespace

int listenOnLoopback(std::uint16_t port, std::error_code &failure) {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    if (listener < 0) {
        failure = systemError(errno);
        return -1;
    }
    // An engine that is restarted takes over the port while its last connections still linger.
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    fcntl(listener, F_SETFD, FD_CLOEXEC);
    fcntl(listener, F_SETFL, O_NONBLOCK);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener, SOMAXCONN) != 0) {
        failure = systemError(errno);
        close(listener);
        return -1;
    }
    failure.clear();
    return listener;
}

std::optional<LineSocket> connectTo(const std::string &host, std::uint16_t port,
                                    std::chrono::milliseconds patience, const EndRequest &endRequest,
                                    std::string &failure) {
    addrinfo wanted = {};
    wanted.ai_family = AF_UNSPEC;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    if (const int problem = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found);
        problem != 0) {
        failure = gai_strerror(problem);
        return std::nullopt;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, freeaddrinfo);
    int outcome = EADDRNOTAVAIL;
    for (const addrinfo *address = addresses.get(); address != nullptr && !endRequest.hasCome();
         address = address->ai_next) {
        const int descriptor = socket(address->ai_family, address->ai_socktype, address->ai_protocol);
        if (descriptor < 0) {
            outcome = errno;
            continue;
        }
        LineSocket connection(descriptor);
        outcome = connect(descriptor, address->ai_addr, address->ai_addrlen) == 0 ? 0 : errno;
        if (outcome == EINPROGRESS)
            outcome = outcomeOfConnect(descriptor, patience, endRequest);
        if (outcome == 0)
            return connection;
    }
    failure = systemError(outcome).message();
    return std::nullopt;
}

}  // namespace ferrolt::practice
