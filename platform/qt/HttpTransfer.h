#pragma once

#include "HttpSession.h"
#include "HttpSink.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QNetworkProxy>
#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace ferrolt {

class MemoryCache;
class NetworkThread;
class SystemProxies;

/// What was asked of a session.
struct HttpRequest {
    QUrl url;
    std::optional<std::filesystem::path> destination;  ///< nothing: the body goes to memory
    HttpSession::Progress progress;
    HttpSession::Completion completion;  ///< called exactly once, whatever happens
};

/// One request from its first connection to its end, redirects included. Lives on its session's thread.
///
/// States: finding proxies --the system's answer--> transferring --a redirect--> finding proxies ...;
/// any --end of the reply, a time-out, cancel()--> ended.
class HttpTransfer : public QObject, public std::enable_shared_from_this<HttpTransfer> {
  public:
    /// What a transfer needs of its session, and what outlives it.
    struct Means {
        QNetworkAccessManager &manager;
        SystemProxies &proxies;
        MemoryCache *cache;  ///< the manager's, if it has one
        const HttpConfiguration &configuration;
        QNetworkRequest request;  ///< all but the URL
        std::weak_ptr<NetworkThread> thread;
    };

    /// `ended` is called once, when the request's completion has been called; it must not destroy the
    /// transfer.
    HttpTransfer(const Means &means, HttpRequest request, std::function<void(HttpTransfer *)> ended);

    void start();
    void cancel() { end(HttpReply::Error::Cancelled); }

  private:
    void findProxies(const QUrl &url);
    void proxiesFound(const QUrl &next, const std::optional<QList<QNetworkProxy>> &proxies);
    void transfer();
    void headCame();
    void bytesCame();
    void openSink();
    void replyFinished();
    std::int64_t largestBody() const;
    bool wantsBody() const;
    void keep(const char *bytes, std::int64_t count);
    std::optional<QUrl> redirectTarget() const;
    void follow(const QUrl &target);
    void requestSent();
    void dropReply();
    void noteActivity();
    void watchTime();
    void tellProgress(bool last);
    void end(HttpReply::Error error);

    Means means;
    HttpRequest request;
    std::function<void(HttpTransfer *)> ended;
    std::unique_ptr<HttpSink> sink;
    QPointer<QNetworkReply> reply;
    QUrl url;
    int redirects = 0;
    int statusCode = 0;
    std::int64_t received = 0;
    std::int64_t announced = -1;
    bool isWithServer = false;
    bool over = false;
    TimeSource::Duration started;
    TimeSource::Duration lastActivity;
    QTimer watch;
    QElapsedTimer sinceProgress;
};

}  // namespace ferrolt
