#pragma once

#include "HttpSession.h"
#include "HttpTransfer.h"
#include "NetworkThread.h"

#include <deque>
#include <memory>
#include <mutex>

namespace ferrolt {

/// What a session hands its requests to: the network thread with the transfers that live on it. The thread is
/// started by the first request and ends with the session.
class HttpEngine : public std::enable_shared_from_this<HttpEngine> {
  public:
    /// Also enters the list of sessions that the end of the application object cancels: Qt's network classes
    /// cannot do without it, and a call that blocks on another thread must not hold up the program's end.
    static std::shared_ptr<HttpEngine> create(HttpConfiguration configuration);
    ~HttpEngine();
    HttpEngine(const HttpEngine &) = delete;
    HttpEngine &operator=(const HttpEngine &) = delete;

    /// False if the request was not taken; its completion is then the caller's to call. Any thread.
    [[nodiscard]] bool submit(HttpRequest &request);
    /// Any thread.
    void cancel();
    /// Cancels, and sees the thread off. Any thread.
    void close();

  private:
    class Room;

    explicit HttpEngine(HttpConfiguration configuration);
    void takeWaiting();
    void leave();

    const HttpConfiguration configuration;
    std::mutex mutex;
    std::deque<HttpRequest> waiting;
    std::shared_ptr<NetworkThread> thread;
    bool cancelled = false;
    std::unique_ptr<Room> room;  // the network thread's own
};

}  // namespace ferrolt
