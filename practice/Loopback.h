#pragma once

#include <cstdio>
#include <optional>
#include <string>

namespace ferrolt::practice {

/// The port of an engine whose properties name none.
constexpr int defaultPort = 9877;
constexpr int maxPort = 65535;

/// A socket that listens on 127.0.0.1. Throws std::system_error when the port is taken.
int listenOnLoopback(int port);

/// A socket that is connected to 127.0.0.1; -1 with errno set when nobody listens there.
int connectToLoopback(int port);

/// Lines of UTF-8 text over a connected socket. It owns the socket, and expects SIGPIPE to be ignored.
class LineSocket {
  public:
    explicit LineSocket(int connected);
    ~LineSocket();
    LineSocket(const LineSocket &) = delete;
    LineSocket &operator=(const LineSocket &) = delete;

    /// Waits for the next line, and returns it without its end. Nothing when the peer has closed the
    /// connection, or sends a line of more than 4 KiB: a peer without line ends must not fill the memory.
    std::optional<std::string> readLine();
    /// A failure is left to the next readLine().
    void writeLine(const std::string &line);

  private:
    int socket;
    std::FILE *reader;
};

}  // namespace ferrolt::practice
