#pragma once

#include "FileDescriptor.h"

#include <QByteArray>

#include <atomic>
#include <memory>

#include <openssl/ssl.h>

namespace ferrolt {

/// A server's side of one connection, with TLS or without; every wait also ends when the server stops. Only
/// on the connection's own thread.
class TestConnection {
  public:
    /// `context` is null for a connection without TLS. `stopping` becomes readable when the server stops.
    TestConnection(FileDescriptor accepted, SSL_CTX *context, int stopping);
    ~TestConnection();

    /// The TLS handshake; false if it failed.
    bool open();
    /// The next bytes; empty when the other side or the server is gone.
    QByteArray receive();
    bool send(const char *bytes, std::size_t count);
    /// Returns when the other side has closed, or the server stops.
    void waitForClose();
    /// False if the other side closed or the server stopped before.
    bool waitFor(int milliseconds);
    /// Closes so that the other side sees a reset.
    void reset();
    /// Says good-bye as TLS has it.
    void shutDown();
    bool isOpen() const { return socket.isValid() && !gone; }

  private:
    enum class Wait { Readable, Writable };
    bool wait(Wait what, int milliseconds);
    bool retry(int result);

    FileDescriptor socket;
    std::unique_ptr<SSL, decltype(&SSL_free)> tls{nullptr, SSL_free};
    int stopping;
    bool gone = false;
};

}  // namespace ferrolt
