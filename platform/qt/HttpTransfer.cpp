#include "HttpTransfer.h"

#include "BackgroundQueue.h"
#include "HttpInflatingSink.h"
#include "MemoryCache.h"
#include "NetworkThread.h"
#include "SystemProxies.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace ferrolt {

using Error = HttpReply::Error;

namespace {

constexpr int mostRedirects = 20;
constexpr std::size_t readSize = 64 * 1024;
/// A page that comes in place of a download is read to its end, so that Qt is done with the reply and can use
/// its connection again; but not one that is longer than this.
constexpr std::int64_t longestUnwantedPage = 64 * 1024;
/// How soon a time-out is noticed when the time source is not the real clock.
constexpr TimeSource::Duration longestLook = std::chrono::milliseconds(200);
constexpr std::int64_t progressInterval = 100;  // milliseconds

bool isHttp(const QUrl &url) {
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

/// Whether Qt's error only repeats a status of 400 or more, whose page arrived like any other.
bool isOnlyTheStatus(QNetworkReply::NetworkError error, int statusCode) {
    using Qt = QNetworkReply;
    return statusCode >= 400 && ((error >= Qt::ContentAccessDenied && error <= Qt::UnknownContentError) ||
                                 error == Qt::ProtocolInvalidOperationError ||
                                 (error >= Qt::InternalServerError && error <= Qt::UnknownServerError));
}

}  // namespace

HttpTransfer::HttpTransfer(const Means &means, HttpRequest request, std::function<void(HttpTransfer *)> ended)
    : means(means),
      request(std::move(request)),
      ended(std::move(ended)),
      started(means.configuration.time->now()),
      lastActivity(started) {
    watch.setSingleShot(true);
    connect(&watch, &QTimer::timeout, this, &HttpTransfer::watchTime);
}

void HttpTransfer::start() {
    watchTime();
    if (!over)
        findProxies(request.url);
}

void HttpTransfer::findProxies(const QUrl &next) {
    url = next;
    if (!isHttp(url)) {
        end(Error::Transport);
        return;
    }
    const auto ask = [next, thread = means.thread, self = weak_from_this()] {
        auto proxies = SystemProxies::ask(next);
        if (const auto own = thread.lock())
            own->post([self, next, proxies = std::move(proxies)] {
                if (const auto transfer = self.lock(); transfer != nullptr && !transfer->over)
                    transfer->proxiesFound(next, proxies);
            });
    };
    if (!BackgroundQueue::async(QualityOfService::Default, ask))
        end(Error::Transport);
}

void HttpTransfer::proxiesFound(const QUrl &next, const std::optional<QList<QNetworkProxy>> &proxies) {
    if (!proxies) {
        end(Error::Transport);
        return;
    }
    means.proxies.set(next, *proxies);
    transfer();
}

void HttpTransfer::transfer() {
    statusCode = 0;
    received = 0;
    announced = -1;
    QNetworkRequest asked = means.request;
    asked.setUrl(url);
    // An image of several hundred megabytes has no place in a cache.
    if (request.destination)
        asked.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    reply = means.manager.get(asked);
    // Without a bound, all that the server has is taken into memory, however slow the disk may be.
    reply->setReadBufferSize(readSize);
    connect(reply, &QNetworkReply::readyRead, this, &HttpTransfer::bytesCame);
    connect(reply, &QNetworkReply::finished, this, &HttpTransfer::replyFinished);
    connect(reply, &QNetworkReply::metaDataChanged, this, &HttpTransfer::headCame);
    for (const auto sign :
         {&QNetworkReply::encrypted, &QNetworkReply::requestSent, &QNetworkReply::socketStartedConnecting})
        connect(reply, sign, this, &HttpTransfer::noteActivity);
    connect(reply, &QNetworkReply::requestSent, this, &HttpTransfer::requestSent);
    noteActivity();
}

void HttpTransfer::requestSent() {
    if (means.cache != nullptr && !std::exchange(isWithServer, true))
        means.cache->requestWasSent(url);
}

/// A redirect is followed without a look at the page that comes with it.
void HttpTransfer::headCame() {
    noteActivity();
    statusCode = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (const auto target = redirectTarget())
        follow(*target);
}

void HttpTransfer::bytesCame() {
    headCame();
    if (over || reply == nullptr)
        return;
    const auto length = reply->header(QNetworkRequest::ContentLengthHeader);
    announced = length.isValid() ? length.toLongLong() : -1;
    const bool wanted = wantsBody();
    if (wanted && announced > largestBody()) {
        end(Error::TooLarge);
        return;
    }
    std::array<char, readSize> bytes;
    while (!over && reply != nullptr) {
        const std::int64_t count = reply->read(bytes.data(), bytes.size());
        if (count <= 0)
            return;
        received += count;
        if (wanted)
            keep(bytes.data(), count);
        else if (received > longestUnwantedPage)
            end(Error::None);
    }
}

std::int64_t HttpTransfer::largestBody() const {
    return request.destination ? means.configuration.largestFile : HttpSession::largestBody;
}

/// A page that comes in place of a download is not wanted.
bool HttpTransfer::wantsBody() const {
    return !request.destination || statusCode == 200;
}

void HttpTransfer::keep(const char *bytes, std::int64_t count) {
    openSink();
    if (const Error error = sink->accept(bytes, count); error != Error::None)
        end(error);
    else
        tellProgress(false);
}

void HttpTransfer::openSink() {
    if (sink != nullptr)
        return;
    if (request.destination)
        sink = std::make_unique<HttpFileSink>(*request.destination, largestBody());
    else
        sink = std::make_unique<HttpMemorySink>();
    const QByteArray encoding = reply->rawHeader("Content-Encoding").trimmed().toLower();
    if (encoding == "gzip" || encoding == "x-gzip" || encoding == "deflate")
        sink = std::make_unique<HttpInflatingSink>(std::move(sink));
}

void HttpTransfer::replyFinished() {
    bytesCame();
    if (over || reply == nullptr)
        return;
    const auto error = reply->error();
    const bool whole = error == QNetworkReply::NoError || isOnlyTheStatus(error, statusCode);
    if (!whole || statusCode == 0) {
        end(Error::Transport);
        return;
    }
    if (!wantsBody()) {
        end(Error::None);
        return;
    }
    openSink();
    tellProgress(true);
    end(sink->keep());
}

std::optional<QUrl> HttpTransfer::redirectTarget() const {
    switch (statusCode) {
        case 301:
        case 302:
        case 303:
        case 307:
        case 308:
            break;
        default:
            return std::nullopt;
    }
    const QUrl location = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (location.isEmpty())
        return std::nullopt;
    return url.resolved(location);
}

void HttpTransfer::follow(const QUrl &target) {
    dropReply();
    const bool stepsDown =
        url.scheme() == QLatin1String("https") && target.scheme() != QLatin1String("https");
    if (stepsDown || ++redirects > mostRedirects)
        end(Error::Transport);
    else
        findProxies(target);
}

void HttpTransfer::dropReply() {
    if (reply == nullptr)
        return;
    reply->disconnect(this);
    // Qt takes amiss a second error of one reply.
    if (reply->error() == QNetworkReply::NoError)
        reply->abort();
    reply->deleteLater();
    reply = nullptr;
    if (std::exchange(isWithServer, false))
        means.cache->requestIsOver(url);
}

void HttpTransfer::noteActivity() {
    lastActivity = means.configuration.time->now();
}

/// Looks at the clock again and again instead of setting a timer for the whole time: a timer follows the real
/// clock only.
void HttpTransfer::watchTime() {
    const auto now = means.configuration.time->now();
    const auto left = std::min(lastActivity + means.configuration.requestTimeout - now,
                               started + means.configuration.resourceTimeout - now);
    if (left <= TimeSource::Duration::zero())
        end(Error::TimedOut);
    else
        watch.start(std::chrono::ceil<std::chrono::milliseconds>(std::min(left, longestLook)));
}

void HttpTransfer::tellProgress(bool last) {
    if (!request.progress || statusCode != 200)
        return;
    if (!last && sinceProgress.isValid() && sinceProgress.elapsed() < progressInterval)
        return;
    sinceProgress.start();
    request.progress(received, announced);
}

void HttpTransfer::end(Error error) {
    if (std::exchange(over, true))
        return;
    watch.stop();
    dropReply();
    HttpReply answer;
    answer.error = error;
    answer.statusCode = statusCode;
    if (error == Error::None && sink != nullptr)
        answer.body = sink->takeBody();
    sink.reset();  // takes the temporary file of a download that failed with it
    request.progress = {};
    std::exchange(request.completion, {})(std::move(answer));
    ended(this);
}

}  // namespace ferrolt
