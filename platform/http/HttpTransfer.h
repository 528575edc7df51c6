#pragma once

#include "HttpSession.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>

#include <functional>
#include <memory>

class QNetworkAccessManager;

namespace ferrolt {

/// Where a reply's body goes.
struct HttpBody {
    std::int64_t maxSize = 0;        ///< in bytes
    bool requiresStatus200 = false;  ///< the body of any other status is not read
    std::function<bool(const char *bytes, std::int64_t count)> store;  ///< false when that failed
    HttpSession::Progress progress;
};

/// One request with its redirects. Lives on the session's thread.
class HttpTransfer : public QObject {
  public:
    HttpTransfer(QNetworkAccessManager &manager, const QNetworkRequest &request, HttpBody body);

    /// Blocks, in an event loop of its own, until the request has ended. To be called once. The reply has no
    /// body: HttpBody::store got it.
    HttpReply run(std::chrono::milliseconds resourceTimeout);

    void cancel() { end(HttpReply::Error::Cancelled); }

  private:
    void start(const QUrl &next);
    void readHead();
    void follow(const QUrl &target);
    void readBody();
    void replyFinished();
    void reportProgress(bool isLast);
    void end(HttpReply::Error error);

    QNetworkAccessManager &manager;
    QNetworkRequest request;  // its URL follows the redirects
    const HttpBody body;
    QEventLoop loop;
    std::unique_ptr<QNetworkReply> reply;
    int redirects = 0;
    bool isOver = false;
    HttpReply result;
    std::int64_t received = 0;
    std::int64_t announced = -1;
    QElapsedTimer sinceProgress;
};

}  // namespace ferrolt
