#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace ferrolt::practice {

/// A connected TCP socket that carries lines of UTF-8 text, each ended by a line feed. It owns the
/// descriptor, never blocks, and expects SIGPIPE to be ignored.
class LineSocket {
  public:
    /// More than this without a line feed is no line: such a peer is cut off.
    static constexpr std::size_t longestLine = 4096;

    explicit LineSocket(int descriptor);
    LineSocket(LineSocket &&other) noexcept;
    LineSocket &operator=(LineSocket &&other) noexcept;
    ~LineSocket();

    int descriptor() const { return socket; }

    /// Takes some of what has arrived, to be called while the descriptor is readable; false once the peer has
    /// closed, failed or sent a line without end. Lines that came before that can still be taken.
    bool receive();
    /// The oldest line that has arrived whole, without its end.
    std::optional<std::string> nextLine();
    /// False when the line could not be sent, for a peer that is gone or has not read for long.
    bool sendLine(std::string_view line);

  private:
    int socket = -1;
    std::deque<std::string> lines;
    std::string unfinished;
};

}  // namespace ferrolt::practice
