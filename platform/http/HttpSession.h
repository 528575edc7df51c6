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

/// How the requests of a session behave.
struct HttpConfiguration {
    /// The max time in which nothing arrives; connecting and the TLS handshake are part of the first wait.
    std::chrono::milliseconds requestTimeout = std::chrono::seconds(60);
    /// The max time of a request from start to end, its redirects included.
    std::chrono::milliseconds resourceTimeout = std::chrono::minutes(15);
    /// The max size of a downloaded file in bytes. The images are around 300 MB; without a bound a server
    /// could fill the disk.
    std::int64_t maxFileSize = std::int64_t{2} * 1024 * 1024 * 1024;
    /// PEM certificates of authorities that are trusted besides the machine's.
    QByteArray extraAuthorities;
};

/// How a request ended.
struct HttpReply {
    enum class Error {
        None,       ///< the reply arrived whole, whatever its status
        Transport,  ///< no connection, no name, a refused certificate or redirect, a reply that was cut or
                    ///< damaged
        TimedOut,   ///< one of the session's two timeouts
        TooLarge,   ///< more than HttpSession::maxBodySize, or than HttpConfiguration::maxFileSize
        File,       ///< the downloaded bytes could not be stored or moved to their place
        Cancelled,  ///< the program is ending
    };

    Error error = Error::None;
    int statusCode = 0;  ///< 0 when no reply's head arrived
    QByteArray body;     ///< decoded; empty on any error, and for a download

    bool isWhole() const { return error == Error::None; }
};

/// HTTP and HTTPS GET requests that share their connections: a QNetworkAccessManager on one background
/// thread, which makes, uses and destroys the session. Not on the main thread: the calls block, and so does
/// Qt while the system finds out its proxy settings.
///
/// Certificates are always verified against the machine's store. The system's proxies are used. At most 20
/// redirects are followed, and only where RedirectRule allows it. No cookies, no cache. Other schemes than
/// http and https fail.
///
/// When the application leaves its event loop, every call ends with Error::Cancelled, those to come included,
/// and the main thread waits for the sessions to be destroyed, but not longer than maxWaitAtEnd: Qt's network
/// classes must not be at work while the application object is destroyed.
class HttpSession {
  public:
    /// The max size of a body that goes to memory, decoded.
    static constexpr std::int64_t maxBodySize = 16 * 1024 * 1024;
    static constexpr std::chrono::milliseconds maxWaitAtEnd{1000};

    /// Bytes received so far, and how many there will be or -1. Within the call, at most ten times a second
    /// and once for the last byte.
    using Progress = std::function<void(std::int64_t received, std::int64_t total)>;

    explicit HttpSession(HttpConfiguration configuration = {});
    ~HttpSession();
    HttpSession(const HttpSession &) = delete;
    HttpSession &operator=(const HttpSession &) = delete;

    HttpReply fetchData(const QUrl &url);

    /// Streams the body into a temporary file beside `destination`, in constant memory. If it arrives whole
    /// and with status 200, whatever is at `destination` is deleted and the file moved there; on any other
    /// outcome nothing of it is left. Success is isWhole() with status 200; the page of another status is not
    /// read.
    HttpReply downloadFile(const QUrl &url, const std::filesystem::path &destination,
                           const Progress &progress = {});

  private:
    friend struct OpenSessions;

    HttpReply get(QNetworkRequest request, HttpBody body);
    void cancel();

    const HttpConfiguration configuration;
    bool isCancelled;
    QObject receiver;  // of cancel(), on the session's thread
    std::unique_ptr<QNetworkAccessManager> manager;
    HttpTransfer *transfer = nullptr;  // while a call is under way
};

}  // namespace ferrolt
