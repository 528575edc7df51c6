#include "HttpSession.h"

#include "HttpTransfer.h"
#include "MainQueue.h"

#include <QCoreApplication>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryFile>

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

namespace ferrolt {

namespace fs = std::filesystem;
using Error = HttpReply::Error;

/// The sessions that there are, for the end of the application.
struct OpenSessions {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<HttpSession *> all;
    bool isClosed = true;  // without an application object, too

    /// Never destroyed: a background thread may outlive main().
    static OpenSessions &instance() {
        static OpenSessions &sessions = *new OpenSessions;
        return sessions;
    }

    bool add(HttpSession *session) {
        std::lock_guard lock(mutex);
        if (!isClosed)
            all.push_back(session);
        return !isClosed;
    }

    void remove(HttpSession *session) {
        std::lock_guard lock(mutex);
        std::erase(all, session);
        changed.notify_all();
    }

    void open() {
        {
            std::lock_guard lock(mutex);
            isClosed = false;
        }
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, [this] { close(); });
    }

    void close() {
        std::unique_lock lock(mutex);
        isClosed = true;
        for (HttpSession *session : all)
            QMetaObject::invokeMethod(
                &session->receiver, [session] { session->cancel(); }, Qt::QueuedConnection);
        changed.wait_for(lock, HttpSession::maxWaitAtEnd, [this] { return all.empty(); });
    }
};

namespace {

void openWithTheApplication() {
    OpenSessions::instance().open();
}

Q_COREAPP_STARTUP_FUNCTION(openWithTheApplication)

/// A configuration that names authorities trusts these alone, and no longer loads the machine's on demand.
/// Those are read once in the process, which takes a quarter of a second.
QSslConfiguration trusting(const QByteArray &extraAuthorities) {
    static const auto &ofTheMachine = *new QList(QSslConfiguration::systemCaCertificates());
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates(ofTheMachine + QSslCertificate::fromData(extraAuthorities, QSsl::Pem));
    return tls;
}

/// A full disk may show only when the last bytes leave the buffer.
bool moveTo(const fs::path &destination, QTemporaryFile &file) {
    if (!file.flush())
        return false;
    std::error_code failure;
    fs::remove_all(destination, failure);
    fs::rename(QFile::encodeName(file.fileName()).toStdString(), destination, failure);
    file.setAutoRemove(bool(failure));
    return !failure;
}

}  // namespace

HttpSession::HttpSession(HttpConfiguration configuration)
    : configuration(std::move(configuration)), isCancelled(!OpenSessions::instance().add(this)) {
    Q_ASSERT(!MainQueue::isMainThread());
    if (!isCancelled)
        manager = std::make_unique<QNetworkAccessManager>();
}

HttpSession::~HttpSession() {
    manager.reset();  // waits for Qt's own network thread
    OpenSessions::instance().remove(this);
}

HttpReply HttpSession::fetchData(const QUrl &url) {
    QByteArray bytes;
    const auto store = [&](const char *more, std::int64_t count) {
        bytes.append(more, count);
        return true;
    };
    HttpReply reply = get(QNetworkRequest(url), {.maxSize = maxBodySize, .store = store, .progress = {}});
    if (reply.isWhole())
        reply.body = std::move(bytes);
    return reply;
}

HttpReply HttpSession::downloadFile(const QUrl &url, const fs::path &destination, const Progress &progress) {
    QTemporaryFile file(QFile::decodeName(destination.c_str()) + QStringLiteral(".XXXXXX"));
    if (!file.open())
        return {Error::File, 0, {}};
    QNetworkRequest request(url);
    // An image does not compress any further, and decoded its size would not be known before its end.
    request.setRawHeader("Accept-Encoding", "identity");
    const auto store = [&](const char *more, std::int64_t count) { return file.write(more, count) == count; };
    HttpReply reply = get(request, {.maxSize = configuration.maxFileSize,
                                    .isWantedOnlyOf200 = true,
                                    .store = store,
                                    .progress = progress});
    if (reply.isWhole() && reply.statusCode == 200 && !moveTo(destination, file))
        reply.error = Error::File;
    return reply;
}

HttpReply HttpSession::get(QNetworkRequest request, HttpBody body) {
    if (isCancelled)
        return {Error::Cancelled, 0, {}};
    request.setDecompressedSafetyCheckThreshold(-1);  // the bound on a body is stricter
    request.setTransferTimeout(static_cast<int>(configuration.requestTimeout.count()));
    // Over HTTP/2 Qt 6.4 takes in whatever the server sends, whether or not somebody reads it.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    if (!configuration.extraAuthorities.isEmpty())
        request.setSslConfiguration(trusting(configuration.extraAuthorities));
    HttpTransfer own(*manager, std::move(request), std::move(body));
    transfer = &own;
    HttpReply reply = own.run(configuration.resourceTimeout);
    transfer = nullptr;
    return reply;
}

void HttpSession::cancel() {
    isCancelled = true;
    if (transfer != nullptr)
        transfer->cancel();
}

}  // namespace ferrolt
