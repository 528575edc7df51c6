#pragma once

#include "HttpSession.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

class QNetworkAccessManager;

namespace ferrolt {

/// What becomes of a reply's body.
struct HttpBody {
    std::int64_t maxSize = 0;
    bool isWantedOnlyOf200 = false;
    std::function<bool(const char *bytes, std::int64_t count)> store;  ///< false if that failed
    HttpSession::Progress progress;
};

/// One request, from its start to its end. Lives on the session's thread.
class HttpTransfer : public QObject {
  public:
    HttpTransfer(QNetworkAccessManager &manager, QNetworkRequest request, HttpBody body);

    /// Blocks until the request has ended, with an event loop. The reply has no body.
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
    QNetworkRequest request;  // its URL is the one that the redirects so far have led to
    const HttpBody body;
    QEventLoop loop;
    QTimer resourceTimer;
    std::unique_ptr<QNetworkReply> reply;
    int redirects = 0;
    bool isOver = false;
    HttpReply result;
    std::int64_t received = 0;
    std::int64_t announced = -1;
    QElapsedTimer sinceProgress;
};

}  // namespace ferrolt
