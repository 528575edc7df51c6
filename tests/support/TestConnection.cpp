#include "TestConnection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <utility>

#include <fcntl.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>

namespace ferrolt {

TestConnection::TestConnection(FileDescriptor accepted, SSL_CTX *context, int stopping)
    : socket(std::move(accepted)), stopping(stopping) {
    fcntl(socket.get(), F_SETFL, O_NONBLOCK);
    if (context != nullptr) {
        tls.reset(SSL_new(context));
        SSL_set_fd(tls.get(), socket.get());
    }
}

TestConnection::~TestConnection() = default;

/// Waits for the socket; false when the server stops or the time is over.
bool TestConnection::wait(Wait what, int milliseconds) {
    pollfd both[2] = {{socket.get(), static_cast<short>(what == Wait::Readable ? POLLIN : POLLOUT), 0},
                      {stopping, POLLIN, 0}};
    int ready = 0;
    do
        ready = poll(both, 2, milliseconds);
    while (ready < 0 && errno == EINTR);
    if (both[1].revents != 0)
        gone = true;
    return ready > 0 && !gone;
}

/// Whether an operation of the TLS library that gave `result` is to be tried again.
bool TestConnection::retry(int result) {
    switch (SSL_get_error(tls.get(), result)) {
        case SSL_ERROR_WANT_READ:
            return wait(Wait::Readable, -1);
        case SSL_ERROR_WANT_WRITE:
            return wait(Wait::Writable, -1);
        default:
            ERR_clear_error();
            gone = true;
            return false;
    }
}

bool TestConnection::open() {
    if (tls == nullptr)
        return true;
    int result = 0;
    do
        result = SSL_accept(tls.get());
    while (result <= 0 && retry(result));
    return result > 0;
}

QByteArray TestConnection::receive() {
    std::array<char, 16384> bytes;
    while (isOpen()) {
        if (tls != nullptr) {
            const int count = SSL_read(tls.get(), bytes.data(), static_cast<int>(bytes.size()));
            if (count > 0)
                return QByteArray(bytes.data(), count);
            if (!retry(count))
                return {};
            continue;
        }
        const ssize_t count = recv(socket.get(), bytes.data(), bytes.size(), 0);
        if (count > 0)
            return QByteArray(bytes.data(), count);
        if (count == 0 || (errno != EAGAIN && errno != EINTR))
            gone = true;
        else
            wait(Wait::Readable, -1);
    }
    return {};
}

bool TestConnection::send(const char *bytes, std::size_t count) {
    while (count > 0 && isOpen()) {
        ssize_t sent = 0;
        if (tls != nullptr) {
            const int result =
                SSL_write(tls.get(), bytes, static_cast<int>(std::min<std::size_t>(count, INT_MAX)));
            if (result <= 0 && !retry(result))
                return false;
            sent = result;
        } else {
            sent = ::send(socket.get(), bytes, count, MSG_NOSIGNAL);
            if (sent < 0 && errno != EAGAIN && errno != EINTR)
                gone = true;
            else if (sent < 0)
                wait(Wait::Writable, -1);
        }
        if (sent > 0) {
            bytes += sent;
            count -= static_cast<std::size_t>(sent);
        }
    }
    return count == 0;
}

void TestConnection::waitForClose() {
    while (isOpen())
        receive();
}

bool TestConnection::waitFor(int milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (isOpen()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0)
            return true;
        pollfd peek{socket.get(), POLLIN | POLLRDHUP, 0};
        if (poll(&peek, 1, 0) > 0 && (peek.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0)
            gone = true;
        else
            wait(Wait::Readable, static_cast<int>(std::min<long>(left, 20)));
    }
    return false;
}

void TestConnection::reset() {
    const linger none{1, 0};
    setsockopt(socket.get(), SOL_SOCKET, SO_LINGER, &none, sizeof none);
    gone = true;
    socket.close();
}

void TestConnection::shutDown() {
    if (tls != nullptr && isOpen())
        SSL_shutdown(tls.get());
    ERR_clear_error();
}

}  // namespace ferrolt
