#pragma once

#include "TestAuthority.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace ferrolt {

using TestHeaders = std::map<QByteArray, QByteArray>;

/// One request as it came.
struct TestRequest {
    QByteArray method;
    QByteArray path;      ///< with the query
    TestHeaders headers;  ///< names in lower case
};

/// One request's connection, in a handler's hands: it can be well-behaved or as nasty as the test needs. Only
/// on the handler's thread. Every operation does nothing once the client or the server is gone.
class TestExchange {
  public:
    virtual ~TestExchange() = default;

    const TestRequest request;

    /// A reply with the right Content-Length. The connection stays open for the next request.
    void reply(int status, const QByteArray &body = {}, const TestHeaders &headers = {});
    /// The status line and headers only; nothing is added.
    void head(int status, const TestHeaders &headers);
    /// Bytes as they are. False when the other side is gone.
    virtual bool send(const QByteArray &bytes) = 0;
    /// Blocks until the client gives up or the server is destroyed.
    virtual void stall() = 0;
    /// Waits for the real time given, or until the client or the server is gone; false then. For a trickle.
    virtual bool pause(int milliseconds) = 0;
    /// Closes the connection in order, after the handler.
    virtual void close() = 0;
    /// Resets the connection at once.
    virtual void reset() = 0;

  protected:
    explicit TestExchange(TestRequest request) : request(std::move(request)) {}
};

/// An HTTP/1.1 server on 127.0.0.1, with TLS or without, each connection on a thread of its own. Destroying
/// it closes every connection and waits for every thread.
class TestHttpsServer {
  public:
    using Handler = std::function<void(TestExchange &)>;

    /// With TLS; on a free port unless one is named.
    explicit TestHttpsServer(const TestCertificate &certificate, std::uint16_t port = 0);
    /// Without.
    TestHttpsServer();
    ~TestHttpsServer();
    TestHttpsServer(const TestHttpsServer &) = delete;
    TestHttpsServer &operator=(const TestHttpsServer &) = delete;

    std::uint16_t port() const;
    /// "https://127.0.0.1:port", or with http.
    QString base() const;
    QUrl url(const QString &path) const;

    /// What requests of `path` get; without a handler it is a 404 with a page. On the connection's thread.
    /// May be called again at any time.
    void on(const QString &path, Handler handler);

    /// The requests so far, whole ones only.
    QList<TestRequest> requests() const;
    qsizetype requestCount(const QString &path) const;
    /// For a test that makes thousands.
    void forgetRequests();
    /// Connections that were accepted so far, and those that are open now.
    int connectionCount() const;
    int openConnectionCount() const;

    // Ready-made handlers.
    static Handler replies(int status, const QByteArray &body = {}, const TestHeaders &headers = {});
    static Handler redirectsTo(const QUrl &target, int status = 302);
    /// Announces the whole body, sends `count` bytes of it and then closes / resets / stalls.
    static Handler cutsAfter(qsizetype count, const QByteArray &body);
    static Handler resetsAfter(qsizetype count, const QByteArray &body);
    static Handler stallsAfter(qsizetype count, const QByteArray &body);
    /// Never answers.
    static Handler neverAnswers();
    /// A byte of the body every `milliseconds` of real time.
    static Handler trickles(const QByteArray &body, int milliseconds);
    /// Content-Encoding: gzip.
    static Handler repliesCompressed(int status, const QByteArray &body);
    /// Transfer-Encoding: chunked, in chunks of at most `chunk` bytes.
    static Handler repliesChunked(int status, const QByteArray &body, qsizetype chunk);
    /// `count` bytes without holding them: the pattern of testPattern() from the beginning on, repeated.
    static Handler repliesPattern(std::int64_t count);

  private:
    struct State;
    std::shared_ptr<State> state;
};

/// 1 MiB that does not compress, always the same.
QByteArray testPattern();
/// A gzip member that holds `bytes`.
QByteArray gzipped(const QByteArray &bytes);

}  // namespace ferrolt
