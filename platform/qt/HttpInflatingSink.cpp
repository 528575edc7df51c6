#include "HttpInflatingSink.h"

#include <array>
#include <utility>

namespace ferrolt {

using Error = HttpReply::Error;

namespace {

/// The largest window, and the format found out from the first bytes.
constexpr int gzipOrZlib = MAX_WBITS + 32;

}  // namespace

HttpInflatingSink::HttpInflatingSink(std::unique_ptr<HttpSink> next)
    : next(std::move(next)),
      state(inflateInit2(&stream, gzipOrZlib) == Z_OK ? State::Empty : State::Failed) {}

HttpInflatingSink::~HttpInflatingSink() {
    inflateEnd(&stream);
}

Error HttpInflatingSink::accept(const char *bytes, std::int64_t count) {
    std::array<char, 64 * 1024> decoded;
    stream.next_in = reinterpret_cast<const Bytef *>(bytes);
    stream.avail_in = static_cast<uInt>(count);
    bool outputFull = false;
    while (state != State::Failed && (stream.avail_in > 0 || outputFull)) {
        // A gzip body may consist of several members, one behind the other.
        if (state == State::MemberEnded)
            inflateReset(&stream);
        stream.next_out = reinterpret_cast<Bytef *>(decoded.data());
        stream.avail_out = decoded.size();
        const int result = inflate(&stream, Z_NO_FLUSH);
        outputFull = stream.avail_out == 0 && result != Z_STREAM_END;
        if (result == Z_STREAM_END)
            state = State::MemberEnded;
        else if (result == Z_OK || result == Z_BUF_ERROR)
            state = State::Inside;
        else
            state = State::Failed;
        const auto produced = static_cast<std::int64_t>(decoded.size() - stream.avail_out);
        if (produced > 0)
            if (const Error error = next->accept(decoded.data(), produced); error != Error::None)
                return error;
    }
    return state == State::Failed ? Error::Transport : Error::None;
}

Error HttpInflatingSink::keep() {
    // A reply to which no body belongs may name an encoding all the same.
    return state == State::MemberEnded || state == State::Empty ? next->keep() : Error::Transport;
}

}  // namespace ferrolt
