#pragma once

#include <QByteArray>
#include <QObject>
#include <QUrl>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

class QNetworkAccessManager;
class QNetworkRequest;

namespace ferrolt {

class HttpTransfer;
struct HttpBody;

/// The settings that all requests of a session share.
struct HttpConfiguration {
    /// The max time without a single byte; connecting and the TLS handshake count as part of the first wait.
    std::chrono::milliseconds requestTimeout = std::chrono::seconds(60);
    /// The max time of a request from start to end, redirects included.
    std::chrono::milliseconds resourceTimeout = std::chrono::minutes(15);
    /// The max size of a downloaded file in bytes. An image has around 300 MB; without a max a server could
    /// fill the disk.
    std::int64_t maxFileSize = std::int64_t{2} * 1024 * 1024 * 1024;
    /// Certificate authorities in PEM that are trusted in addition to the machine's.
    QByteArray extraAuthorities;
};

/// How a request ended.
struct HttpReply {
    enum class Error {
        None,       ///< the reply arrived completely; its status may be an error's
        Transport,  ///< name lookup, connection, certificate or redirect failed, or the reply was incomplete
        TimedOut,   ///< requestTimeout or resourceTimeout
        TooLarge,   ///< above HttpSession::maxBodySize or HttpConfiguration::maxFileSize
        File,       ///< the download could not be written or moved to its destination
        Cancelled,  ///< the program is ending
    };

    Error error = Error::None;
    int statusCode = 0;  ///< 0 when no header arrived
    QByteArray body;     ///< decoded; empty on any error, and for a download

    bool isComplete() const { return error == Error::None; }
};

/// Blocking HTTP and HTTPS GET requests that share connections: a QNetworkAccessManager on one background
/// thread, which constructs, uses and destroys the session. Never the main thread: the calls block, and so
/// does Qt while it asks the system for its proxy settings.
///
/// Certificates are always verified against the machine's store. The system's proxies are used. At most 20
/// redirects are followed, each checked by decideRedirect(). No cookies, no cache. Schemes other than http
/// and https fail.
///
/// When the application leaves its event loop, running and later calls end with Error::Cancelled, and the
/// main thread waits up to maxWaitAtEnd until all sessions are destroyed: Qt's network classes must not run
/// while the application object is destroyed.
class HttpSession {
  public:
    /// The max size of a body in memory, in bytes after decoding.
    static constexpr std::int64_t maxBodySize = 16 * 1024 * 1024;
    static constexpr std::chrono::milliseconds maxWaitAtEnd{1000};

    /// Bytes received so far, and the total or -1 when the server does not announce it. Called on the
    /// session's thread, at most every 100 ms, and after the last byte.
    using Progress = std::function<void(std::int64_t received, std::int64_t total)>;

    explicit HttpSession(HttpConfiguration configuration = {});
    ~HttpSession();
    HttpSession(const HttpSession &) = delete;
    HttpSession &operator=(const HttpSession &) = delete;

    HttpReply fetchData(const QUrl &url);

    /// Streams the body into a temporary file beside `destination`, in constant memory. After a complete
    /// reply with status 200 the file replaces the one at `destination`; after anything else it is
    /// deleted. Success is isComplete() with status 200; the body of any other status is not read.
    HttpReply downloadFile(const QUrl &url, const std::filesystem::path &destination,
                           const Progress &progress = {});

  private:
    friend struct OpenSessions;

    HttpReply get(QNetworkRequest request, HttpBody body);
    void cancel();

    const HttpConfiguration configuration;
    bool isCancelled;
    QObject receiver;  // brings cancel() to the session's thread
    std::unique_ptr<QNetworkAccessManager> manager;
    HttpTransfer *transfer = nullptr;  // during a call
};

}  // namespace ferrolt
