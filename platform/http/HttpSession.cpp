#include "HttpSession.h"

#include "FilePath.h"
#include "HttpTransfer.h"
#include "MainQueue.h"

#include <QCoreApplication>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryFile>
#include <QThread>

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

namespace ferrolt {

namespace fs = std::filesystem;
using Error = HttpReply::Error;

/// All live sessions, so that the end of the application can cancel them.
struct OpenSessions {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<HttpSession *> all;
    bool isClosed = true;  // also before there is an application object

    /// Never destroyed: a background thread may outlive main().
    static OpenSessions &instance() {
        static OpenSessions &sessions = *new OpenSessions;
        return sessions;
    }

    /// False at the end of the application: the session must not send anything.
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

void openAtApplicationStart() {
    OpenSessions::instance().open();
}

Q_COREAPP_STARTUP_FUNCTION(openAtApplicationStart)

/// Qt no longer loads the machine's certificates on demand once a configuration names authorities, so they
/// are added here. Reading them takes a quarter of a second and is done once per process.
QSslConfiguration trusting(const QByteArray &extraAuthorities) {
    static const auto &machineAuthorities = *new QList(QSslConfiguration::systemCaCertificates());
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates(machineAuthorities + QSslCertificate::fromData(extraAuthorities, QSsl::Pem));
    return tls;
}

bool moveTo(const fs::path &destination, QTemporaryFile &file) {
    if (!file.flush())  // a full disk may be noticed only here
        return false;
    std::error_code failure;
    fs::remove_all(destination, failure);
    fs::rename(pathOf(file.fileName()), destination, failure);
    file.setAutoRemove(bool(failure));
    return !failure;
}

}  // namespace

HttpSession::HttpSession(HttpConfiguration configuration)
    : configuration(std::move(configuration)), isCancelled(!OpenSessions::instance().add(this)) {
    assertNotMainThread();
    if (!isCancelled)
        manager = std::make_unique<QNetworkAccessManager>();
}

HttpSession::~HttpSession() {
    Q_ASSERT(receiver.thread() == QThread::currentThread());
    manager.reset();  // waits for Qt's own network thread, so before remove()
    OpenSessions::instance().remove(this);
}

HttpReply HttpSession::fetchData(const QUrl &url) {
    QByteArray bytes;
    const auto store = [&](const char *more, std::int64_t count) {
        bytes.append(more, count);
        return true;
    };
    HttpReply reply = get(QNetworkRequest(url), {.maxSize = maxBodySize, .store = store, .progress = {}});
    if (reply.isComplete())
        reply.body = std::move(bytes);
    return reply;
}

HttpReply HttpSession::downloadFile(const QUrl &url, const fs::path &destination, const Progress &progress) {
    QTemporaryFile file(QFile::decodeName(destination.c_str()) + QStringLiteral(".XXXXXX"));
    if (!file.open())
        return {Error::File, 0, {}};
    QNetworkRequest request(url);
    // An image does not compress any further, and Qt does not know the decoded size in advance.
    request.setRawHeader("Accept-Encoding", "identity");
    const auto store = [&](const char *more, std::int64_t count) { return file.write(more, count) == count; };
    HttpReply reply = get(request, {.maxSize = configuration.maxFileSize,
                                    .requiresStatus200 = true,
                                    .store = store,
                                    .progress = progress});
    if (reply.isComplete() && reply.statusCode == 200 && !moveTo(destination, file))
        reply.error = Error::File;
    return reply;
}

HttpReply HttpSession::get(QNetworkRequest request, HttpBody body) {
    Q_ASSERT(receiver.thread() == QThread::currentThread() && transfer == nullptr);
    if (isCancelled)
        return {Error::Cancelled, 0, {}};
    request.setDecompressedSafetyCheckThreshold(-1);  // off: maxSize is the stricter check
    request.setTransferTimeout(static_cast<int>(configuration.requestTimeout.count()));
    // Over HTTP/2 Qt 6.4 ignores the read buffer's size: it buffers the whole body in memory.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    if (!configuration.extraAuthorities.isEmpty())
        request.setSslConfiguration(trusting(configuration.extraAuthorities));
    HttpTransfer current(*manager, request, std::move(body));
    transfer = &current;
    HttpReply reply = current.run(configuration.resourceTimeout);
    transfer = nullptr;
    return reply;
}

void HttpSession::cancel() {
    isCancelled = true;
    if (transfer != nullptr)
        transfer->cancel();
}

}  // namespace ferrolt
