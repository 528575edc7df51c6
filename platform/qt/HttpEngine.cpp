#include "HttpEngine.h"

#include "MemoryCache.h"
#include "SystemProxies.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QSslCertificate>
#include <QSslConfiguration>

#include <algorithm>
#include <utility>
#include <vector>

namespace ferrolt {

namespace {

/// How long a session's end may wait for its thread, which has nothing to do by then but to close sockets.
constexpr auto longestEnd = std::chrono::seconds(2);

QNetworkRequest requestFor(const HttpConfiguration &configuration) {
    QNetworkRequest request;
    // HTTP/2 in this Qt takes in whatever the server sends, whether or not somebody reads it.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    // Naming it ourselves is how Qt is kept from decoding; HttpInflatingSink says why.
    request.setRawHeader("Accept-Encoding", "gzip");
    if (configuration.storage == HttpConfiguration::Storage::Ephemeral) {
        request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
        request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    }
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setPeerVerifyMode(QSslSocket::VerifyPeer);
    // With a list of authorities Qt 6.4 trusts that list alone. Without one it loads those of the system on
    // demand where they have links by hash, and the configuration's own list is empty then.
    if (!configuration.extraAuthorities.isEmpty())
        tls.addCaCertificates(QSslCertificate::fromData(configuration.extraAuthorities, QSsl::Pem));
    request.setSslConfiguration(tls);
    return request;
}

/// The manager's cache, if it is to have one.
MemoryCache *newCache(const HttpConfiguration &configuration, QNetworkAccessManager &manager) {
    if (configuration.storage != HttpConfiguration::Storage::Shared)
        return nullptr;
    auto *cache = new MemoryCache;
    manager.setCache(cache);  // which owns it from here on
    return cache;
}

struct Sessions {
    std::mutex mutex;
    std::vector<std::weak_ptr<HttpEngine>> all;

    /// Never destroyed: a session may be made by a thread that outlives main().
    static Sessions &instance() {
        static Sessions &sessions = *new Sessions;
        return sessions;
    }

    void add(const std::shared_ptr<HttpEngine> &engine) {
        std::lock_guard lock(mutex);
        std::erase_if(all, [](const auto &one) { return one.expired(); });
        all.push_back(engine);
    }

    void closeAll() {
        std::vector<std::weak_ptr<HttpEngine>> last;
        {
            std::lock_guard lock(mutex);
            last.swap(all);
        }
        for (const auto &one : last)
            if (const auto engine = one.lock())
                engine->cancel();
        for (const auto &one : last)
            if (const auto engine = one.lock())
                engine->close();
    }
};

void closeWithTheApplication() {
    qAddPostRoutine([] { Sessions::instance().closeAll(); });
}

Q_COREAPP_STARTUP_FUNCTION(closeWithTheApplication)

}  // namespace

/// What lives on the network thread.
class HttpEngine::Room {
  public:
    Room(const HttpConfiguration &configuration, std::weak_ptr<NetworkThread> thread)
        : thread(thread), proxies(new SystemProxies), means{manager,
                                                            *proxies,
                                                            newCache(configuration, manager),
                                                            configuration,
                                                            requestFor(configuration),
                                                            std::move(thread)} {
        manager.setProxyFactory(proxies);
    }

    ~Room() {
        while (!transfers.empty())
            transfers.back()->cancel();
    }

    void begin(HttpRequest request) {
        transfers.push_back(std::make_shared<HttpTransfer>(
            means, std::move(request), [this](HttpTransfer *transfer) { remove(transfer); }));
        transfers.back()->start();
    }

  private:
    /// A transfer ends itself from within a signal of its own timer or reply, so it goes only in a later
    /// turn.
    void remove(HttpTransfer *transfer) {
        const auto place = std::ranges::find(transfers, transfer, &std::shared_ptr<HttpTransfer>::get);
        over.push_back(std::move(*place));
        transfers.erase(place);
        if (const auto own = thread.lock())
            own->post([this] { over.clear(); });
    }

    std::weak_ptr<NetworkThread> thread;
    QNetworkAccessManager manager;
    SystemProxies *proxies;  // the manager's
    HttpTransfer::Means means;
    std::vector<std::shared_ptr<HttpTransfer>> transfers;
    std::vector<std::shared_ptr<HttpTransfer>> over;
};

HttpEngine::HttpEngine(HttpConfiguration configuration) : configuration(std::move(configuration)) {}

HttpEngine::~HttpEngine() = default;

std::shared_ptr<HttpEngine> HttpEngine::create(HttpConfiguration configuration) {
    std::shared_ptr<HttpEngine> engine(new HttpEngine(std::move(configuration)));
    Sessions::instance().add(engine);
    return engine;
}

bool HttpEngine::submit(HttpRequest &request) {
    std::lock_guard lock(mutex);
    if (cancelled || QCoreApplication::instance() == nullptr)
        return false;
    if (thread == nullptr)
        thread = NetworkThread::start([self = shared_from_this()] { self->leave(); });
    if (thread == nullptr)
        return false;
    waiting.push_back(std::move(request));
    thread->post([self = shared_from_this()] { self->takeWaiting(); });
    return true;
}

void HttpEngine::takeWaiting() {
    std::deque<HttpRequest> requests;
    std::weak_ptr<NetworkThread> own;
    {
        std::lock_guard lock(mutex);
        requests.swap(waiting);
        own = thread;
    }
    if (room == nullptr)
        room = std::make_unique<Room>(configuration, std::move(own));
    for (HttpRequest &request : requests)
        room->begin(std::move(request));
}

void HttpEngine::leave() {
    room.reset();
    std::deque<HttpRequest> requests;
    {
        std::lock_guard lock(mutex);
        requests.swap(waiting);
    }
    for (HttpRequest &request : requests)
        request.completion(HttpReply{HttpReply::Error::Cancelled, 0, {}});
}

void HttpEngine::cancel() {
    std::lock_guard lock(mutex);
    cancelled = true;
    if (thread != nullptr)
        thread->finish();
}

void HttpEngine::close() {
    cancel();
    std::shared_ptr<NetworkThread> last;
    {
        std::lock_guard lock(mutex);
        last = thread;  // which stays, for whoever closes at the same time has to wait as well
    }
    if (last != nullptr)
        last->waitForEnd(longestEnd);
}

}  // namespace ferrolt
