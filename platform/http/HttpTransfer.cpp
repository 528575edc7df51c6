#include "HttpTransfer.h"

#include "RedirectRule.h"

#include <QNetworkAccessManager>
#include <QTimer>

#include <array>
#include <utility>

namespace ferrolt {

using Error = HttpReply::Error;

namespace {

constexpr int maxRedirects = 20;
constexpr std::size_t readSize = 64 * 1024;
constexpr qint64 progressInterval = 100;  // milliseconds

bool isHttp(const QUrl &url) {
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

bool isRedirect(int statusCode) {
    return (statusCode >= 301 && statusCode <= 303) || statusCode == 307 || statusCode == 308;
}

/// Whether Qt's error only repeats an HTTP status of 400 or more; the body arrived as with any other status.
bool isStatusError(QNetworkReply::NetworkError error, int statusCode) {
    using Qt = QNetworkReply;
    return statusCode >= 400 && ((error >= Qt::ContentAccessDenied && error <= Qt::UnknownContentError) ||
                                 error == Qt::ProtocolInvalidOperationError ||
                                 (error >= Qt::InternalServerError && error <= Qt::UnknownServerError));
}

}  // namespace

HttpTransfer::HttpTransfer(QNetworkAccessManager &manager, const QNetworkRequest &request, HttpBody body)
    : manager(manager), request(request), body(std::move(body)) {}

HttpReply HttpTransfer::run(std::chrono::milliseconds resourceTimeout) {
    Q_ASSERT(!isOver && !reply);
    QTimer::singleShot(resourceTimeout, this, [this] { end(Error::TimedOut); });
    start(request.url());
    if (!isOver)
        loop.exec();
    reply.reset();
    return result;
}

void HttpTransfer::start(const QUrl &next) {
    if (!isHttp(next)) {
        end(Error::Transport);
        return;
    }
    request.setUrl(next);
    // Redirects are followed by follow(). Of Qt 6.4's policies UserVerifiedRedirectPolicy is the one that can
    // ask, and it fails at the second redirect of a reply; all of them read the body of a redirect to its
    // end.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    reply.reset(manager.get(request));
    // Unbounded by default: with a slow disk Qt would buffer the whole body in memory.
    reply->setReadBufferSize(readSize);
    connect(reply.get(), &QNetworkReply::metaDataChanged, this, &HttpTransfer::readHead);
    connect(reply.get(), &QNetworkReply::readyRead, this, &HttpTransfer::readBody);
    connect(reply.get(), &QNetworkReply::finished, this, &HttpTransfer::replyFinished);
}

void HttpTransfer::readHead() {
    result.statusCode = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QUrl location = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (isRedirect(result.statusCode) && !location.isEmpty())
        follow(request.url().resolved(location));
}

void HttpTransfer::follow(const QUrl &target) {
    reply->disconnect(this);
    reply.release()->deleteLater();  // not at once: one of its signals is calling this function
    result.statusCode = 0;
    if (++redirects > maxRedirects) {
        end(Error::Transport);
        return;
    }
    decideRedirect(request.url(), target, this, [this, target](bool isAllowed) {
        if (isAllowed)
            start(target);
        else
            end(Error::Transport);
    });
}

void HttpTransfer::readBody() {
    if (body.requiresStatus200 && result.statusCode != 200) {
        end(Error::None);
        return;
    }
    const auto length = reply->header(QNetworkRequest::ContentLengthHeader);
    announced = length.isValid() ? length.toLongLong() : -1;
    if (announced > body.maxSize)
        end(Error::TooLarge);
    std::array<char, readSize> bytes;
    while (!isOver) {
        const qint64 count = reply->read(bytes.data(), bytes.size());
        if (count <= 0)
            break;
        received += count;
        if (received > body.maxSize)
            end(Error::TooLarge);
        else if (!body.store(bytes.data(), count))
            end(Error::File);
        else
            reportProgress(false);
    }
}

void HttpTransfer::replyFinished() {
    const auto error = reply->error();
    if (error == QNetworkReply::OperationCanceledError || error == QNetworkReply::TimeoutError) {
        end(Error::TimedOut);  // of requestTimeout: nothing else cancels a reply
    } else if (result.statusCode == 0 ||
               (error != QNetworkReply::NoError && !isStatusError(error, result.statusCode))) {
        end(Error::Transport);
    } else {
        readBody();
        if (!isOver)
            reportProgress(true);
        end(Error::None);
    }
}

void HttpTransfer::reportProgress(bool isLast) {
    if (!body.progress || (!isLast && sinceProgress.isValid() && sinceProgress.elapsed() < progressInterval))
        return;
    sinceProgress.start();
    body.progress(received, announced);
}

void HttpTransfer::end(Error error) {
    if (std::exchange(isOver, true))
        return;
    result.error = error;
    loop.quit();
}

}  // namespace ferrolt
