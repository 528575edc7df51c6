#include "HostLookup.h"

#include <netdb.h>
#include <sys/socket.h>

namespace ferrolt {

bool isKnownHost(const std::string &host) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *addresses = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &addresses) != 0)
        return false;
    freeaddrinfo(addresses);
    return true;
}

}  // namespace ferrolt
