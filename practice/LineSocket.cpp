#include "LineSocket.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrolt::practice {

LineSocket::LineSocket(int descriptor) : socket(descriptor) {
    fcntl(socket, F_SETFD, FD_CLOEXEC);
    fcntl(socket, F_SETFL, O_NONBLOCK);
}

LineSocket::LineSocket(LineSocket &&other) noexcept
    : socket(std::exchange(other.socket, -1)),
      lines(std::move(other.lines)),
      unfinished(std::move(other.unfinished)) {}

LineSocket &LineSocket::operator=(LineSocket &&other) noexcept {
    std::swap(socket, other.socket);
    std::swap(lines, other.lines);
    std::swap(unfinished, other.unfinished);
    return *this;
}

LineSocket::~LineSocket() {
    if (socket >= 0)
        close(socket);
}

bool LineSocket::receive() {
    char bytes[4096];
    const auto count = recv(socket, bytes, sizeof bytes, 0);
    if (count < 0)
        return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    if (count == 0)
        return false;
    unfinished.append(bytes, static_cast<std::size_t>(count));
    for (auto end = unfinished.find('\n'); end != std::string::npos; end = unfinished.find('\n')) {
        lines.push_back(unfinished.substr(0, end));
        if (lines.back().ends_with('\r'))
            lines.back().pop_back();
        unfinished.erase(0, end + 1);
    }
    return unfinished.size() <= longestLine;
}

std::optional<std::string> LineSocket::nextLine() {
    if (lines.empty())
        return std::nullopt;
    std::string line = std::move(lines.front());
    lines.pop_front();
    return line;
}

bool LineSocket::sendLine(std::string_view line) {
    const std::string text = std::string(line) + '\n';
    ssize_t count = 0;
    do {
        count = send(socket, text.data(), text.size(), 0);
    } while (count < 0 && errno == EINTR);
    // A line that fits only in part into a socket's buffer means that the peer has not read a hundred
    // kilobytes.
    return count == static_cast<ssize_t>(text.size());
}

}  // namespace ferrolt::practice
