#pragma once

#include "HttpSink.h"

#include <memory>

#include <zlib.h>

namespace ferrolt {

/// Decodes a body that was compressed for the transfer (RFC 9110, 8.4.1: gzip, and deflate in its zlib
/// wrapping) on its way into another sink. Qt would decode too, but forgets how long the body was to be, so
/// that half of one passes for the whole, and never reports the end of one that it refuses.
class HttpInflatingSink : public HttpSink {
  public:
    explicit HttpInflatingSink(std::unique_ptr<HttpSink> next);
    ~HttpInflatingSink() override;
    HttpInflatingSink(const HttpInflatingSink &) = delete;
    HttpInflatingSink &operator=(const HttpInflatingSink &) = delete;

    HttpReply::Error accept(const char *bytes, std::int64_t count) override;
    HttpReply::Error keep() override;
    QByteArray takeBody() override { return next->takeBody(); }

  private:
    enum class State { Empty, Inside, MemberEnded, Failed };

    std::unique_ptr<HttpSink> next;
    z_stream stream{};
    State state;
};

}  // namespace ferrolt
