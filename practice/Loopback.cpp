#include "Loopback.h"

#include <cerrno>
#include <cstdint>
#include <system_error>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrolt::practice {

namespace {

sockaddr_in loopback(int port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

int listenOnLoopback(int port) {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    // A restarted engine gets its port while connections of the last one are in TIME_WAIT.
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in address = loopback(port);
    if (bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener, SOMAXCONN) != 0)
        throw std::system_error(errno, std::generic_category(),
                                "cannot listen on 127.0.0.1:" + std::to_string(port));
    return listener;
}

int connectToLoopback(int port) {
    const int connection = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = loopback(port);
    if (connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return connection;
    const int failure = errno;
    close(connection);
    errno = failure;
    return -1;
}

LineSocket::LineSocket(int connected) : socket(connected), reader(fdopen(connected, "r")) {}

LineSocket::~LineSocket() {
    std::fclose(reader);  // and closes the socket
}

std::optional<std::string> LineSocket::readLine() {
    char bytes[4096];
    if (std::fgets(bytes, sizeof bytes, reader) == nullptr)
        return std::nullopt;
    std::string line = bytes;
    if (!line.ends_with('\n'))
        return std::nullopt;
    line.pop_back();
    return line;
}

void LineSocket::writeLine(const std::string &line) {
    const std::string bytes = line + '\n';
    [[maybe_unused]] const auto written = write(socket, bytes.data(), bytes.size());
}

}  // namespace ferrolt::practice
