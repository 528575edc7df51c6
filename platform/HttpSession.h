#pragma once

#include "TimeSource.h"

#include <QByteArray>
#include <QUrl>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

namespace ferrolt {

class HttpEngine;

/// How the requests of a session behave. A default-constructed value is that of the shared session.
struct HttpConfiguration {
    enum class Storage {
        Shared,     ///< cookies and cached replies are kept in memory, as their senders ask
        Ephemeral,  ///< every request stands alone: no cookies, no cache
    };

    Storage storage = Storage::Shared;
    /// The longest time in which nothing at all may arrive.
    TimeSource::Duration requestTimeout = std::chrono::seconds(60);
    /// The longest time that a request may take from start to end, its redirects included.
    TimeSource::Duration resourceTimeout = std::chrono::hours(7 * 24);
    /// What both time-outs are measured with; never null.
    std::shared_ptr<TimeSource> time = systemTime();
    /// How many bytes, decoded, a downloaded file may have. A server could go on until the time-out, and the
    /// disk that it fills is everyone's: the bound is that of the disk images themselves.
    std::int64_t largestFile = std::int64_t{8} * 1024 * 1024 * 1024;
    /// PEM certificates of authorities that are trusted besides the system's.
    QByteArray extraAuthorities;
};

/// How a request ended.
struct HttpReply {
    enum class Error {
        None,  ///< the reply arrived whole, whatever its status; for a download, as much as is wanted of it
        Transport,  ///< no connection, no name, a refused certificate or redirect, a reply that was cut or
                    ///< damaged
        TimedOut,   ///< one of the session's two time-outs
        TooLarge,   ///< a body for memory beyond HttpSession::largestBody, or a file beyond largestFile
        File,       ///< the downloaded bytes could not be stored or moved to their place
        Cancelled,  ///< the session was cancelled, or the program is ending
    };

    Error error = Error::None;
    int statusCode = 0;  ///< 0 when no reply's head arrived
    QByteArray body;     ///< decoded; empty on any error, and for a download

    bool isWhole() const { return error == Error::None; }
};

/// HTTP and HTTPS GET requests that share a configuration, their connections and a thread of the session's
/// own.
///
/// Certificates are always verified; redirects are followed, but not from https to http and not without end;
/// the system's proxies are used; bodies that were compressed for the transfer come decoded. URLs of any
/// other scheme than http and https fail.
///
/// States: open --cancel(), destruction, or the end of the application object--> cancelled. A request that
/// is under way or made in the cancelled state ends at once with Error::Cancelled. All of it may be called
/// from any thread, and none of it waits for the main thread.
class HttpSession {
  public:
    /// Bodies that go to memory may be this many bytes long, decoded.
    static constexpr std::int64_t largestBody = 16 * 1024 * 1024;

    using Completion = std::function<void(HttpReply)>;
    /// Bytes received so far, and how many there will be or -1. On a thread of the session's, at most ten
    /// times a second and once for the last byte.
    using Progress = std::function<void(std::int64_t received, std::int64_t total)>;

    explicit HttpSession(HttpConfiguration configuration = {});
    /// Cancels. Does not wait for the network: at worst a moment for the session's thread to end.
    ~HttpSession();
    HttpSession(const HttpSession &) = delete;
    HttpSession &operator=(const HttpSession &) = delete;

    /// Returns at once. `completion` comes exactly once, on a background thread, never inside this call; it
    /// must not block.
    void fetch(const QUrl &url, Completion completion);

    /// Blocks the calling thread, which must not be the main one, until the request has ended.
    HttpReply fetchData(const QUrl &url);

    /// Streams the body into a temporary file beside `destination`, in constant memory. Only when it came
    /// whole and with status 200, whatever is at `destination` is deleted and the file moved there; on any
    /// other outcome nothing of it is left. Blocks like fetchData(). Success is isWhole() with status 200.
    HttpReply downloadFile(const QUrl &url, const std::filesystem::path &destination, Progress progress = {});

    /// Ends every request. Does not wait.
    void cancel();

  private:
    std::shared_ptr<HttpEngine> engine;
};

}  // namespace ferrolt
