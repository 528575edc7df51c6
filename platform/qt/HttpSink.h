#pragma once

#include "HttpSession.h"

#include <QByteArray>
#include <QTemporaryFile>

#include <cstdint>
#include <filesystem>
#include <memory>

namespace ferrolt {

/// Where the bytes of a reply go. Belongs to the session's network thread.
class HttpSink {
  public:
    virtual ~HttpSink() = default;

    /// Error::None, or why the request must end.
    virtual HttpReply::Error accept(const char *bytes, std::int64_t count) = 0;
    /// Called once, when a reply arrived whole.
    virtual HttpReply::Error keep() = 0;
    virtual QByteArray takeBody() { return {}; }
};

/// Keeps a body in memory, up to HttpSession::largestBody.
class HttpMemorySink : public HttpSink {
  public:
    HttpReply::Error accept(const char *bytes, std::int64_t count) override;
    HttpReply::Error keep() override { return HttpReply::Error::None; }
    QByteArray takeBody() override { return std::move(body); }

  private:
    QByteArray body;
};

/// Writes a body to a temporary file beside its destination, so that moving it there is a rename. Up to
/// `largest` bytes.
class HttpFileSink : public HttpSink {
  public:
    HttpFileSink(std::filesystem::path destination, std::int64_t largest);

    HttpReply::Error accept(const char *bytes, std::int64_t count) override;
    HttpReply::Error keep() override;

  private:
    bool open();

    std::filesystem::path destination;
    std::int64_t left;
    QTemporaryFile file;
};

}  // namespace ferrolt
