#include "TestHttpsServer.h"

#include "Pipe.h"
#include "TestConnection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <list>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>

namespace ferrolt {

namespace {

using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;

Context contextFor(const TestCertificate &certificate) {
    Context context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    std::unique_ptr<BIO, decltype(&BIO_free_all)> chain(
        BIO_new_mem_buf(certificate.chain.constData(), static_cast<int>(certificate.chain.size())),
        BIO_free_all);
    std::unique_ptr<BIO, decltype(&BIO_free_all)> key(
        BIO_new_mem_buf(certificate.key.constData(), static_cast<int>(certificate.key.size())), BIO_free_all);
    bool first = true;
    while (X509 *one = PEM_read_bio_X509(chain.get(), nullptr, nullptr, nullptr)) {
        if (std::exchange(first, false)) {
            SSL_CTX_use_certificate(context.get(), one);
            X509_free(one);
        } else {
            SSL_CTX_add_extra_chain_cert(context.get(), one);
        }
    }
    EVP_PKEY *own = PEM_read_bio_PrivateKey(key.get(), nullptr, nullptr, nullptr);
    SSL_CTX_use_PrivateKey(context.get(), own);
    EVP_PKEY_free(own);
    if (SSL_CTX_check_private_key(context.get()) != 1)
        std::abort();
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    return context;
}

/// Takes one request off `buffer`; nothing while it is not whole.
std::optional<TestRequest> takeRequest(QByteArray &buffer) {
    const qsizetype end = buffer.indexOf("\r\n\r\n");
    if (end < 0)
        return std::nullopt;
    const QList<QByteArray> lines = buffer.left(end).split('\n');
    buffer.remove(0, end + 4);
    const QList<QByteArray> words = lines.first().trimmed().split(' ');
    TestRequest request{words.value(0), words.value(1), {}};
    for (const QByteArray &line : lines.mid(1)) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            request.headers[line.left(colon).trimmed().toLower()] = line.mid(colon + 1).trimmed();
    }
    return request;
}

class Exchange : public TestExchange {
  public:
    Exchange(TestRequest request, TestConnection &connection)
        : TestExchange(std::move(request)), connection(connection) {}

    bool send(const QByteArray &bytes) override {
        return connection.send(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    }
    void stall() override { connection.waitForClose(); }
    bool pause(int milliseconds) override { return connection.waitFor(milliseconds); }
    void close() override { closing = true; }
    void reset() override { connection.reset(); }
    bool isClosing() const { return closing; }

  private:
    TestConnection &connection;
    bool closing = false;
};

}  // namespace

struct TestHttpsServer::State {
    explicit State(Context context) : context(std::move(context)) {}

    Context context;
    FileDescriptor listener;
    Pipe stop = Pipe::open();
    std::uint16_t port = 0;
    std::thread acceptor;

    mutable std::mutex mutex;
    std::map<QString, Handler> handlers;
    QList<TestRequest> requests;
    std::list<std::thread> threads;
    std::set<std::thread::id> finished;  ///< of these: each keeps its stack until it is joined
    int accepted = 0;
    int open = 0;

    void listen();
    void acceptAll();
    void serve(FileDescriptor socket);
    Handler handlerFor(const TestRequest &request);
};

void TestHttpsServer::State::listen() {
    listener = FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    socklen_t size = sizeof address;
    if (bind(listener.get(), reinterpret_cast<sockaddr *>(&address), size) != 0 ||
        ::listen(listener.get(), 64) != 0 ||
        getsockname(listener.get(), reinterpret_cast<sockaddr *>(&address), &size) != 0)
        std::abort();
    port = ntohs(address.sin_port);
    acceptor = std::thread([this] { acceptAll(); });
}

void TestHttpsServer::State::acceptAll() {
    while (true) {
        pollfd both[2] = {{listener.get(), POLLIN, 0}, {stop.readingEnd.get(), POLLIN, 0}};
        if (poll(both, 2, -1) < 0 && errno == EINTR)
            continue;
        if (both[1].revents != 0)
            return;
        FileDescriptor socket(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket.isValid())
            continue;
        const int on = 1;
        setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        std::lock_guard lock(mutex);
        ++accepted;
        ++open;
        threads.remove_if([this](std::thread &thread) {
            if (finished.erase(thread.get_id()) == 0)
                return false;
            thread.join();  // it has given up the lock and ends
            return true;
        });
        threads.emplace_back([this, socket = std::move(socket)]() mutable { serve(std::move(socket)); });
    }
}

TestHttpsServer::Handler TestHttpsServer::State::handlerFor(const TestRequest &request) {
    std::lock_guard lock(mutex);
    requests.append(request);
    const auto handler = handlers.find(QString::fromUtf8(request.path));
    return handler != handlers.end() ? handler->second : replies(404, "<html>Not here</html>");
}

void TestHttpsServer::State::serve(FileDescriptor socket) {
    // The TLS library writes with write(), and a client that has gone must not end the test.
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    {
        TestConnection connection(std::move(socket), context.get(), stop.readingEnd.get());
        QByteArray buffer;
        while (connection.isOpen() && (buffer.isNull() ? connection.open() : true)) {
            if (buffer.isNull())
                buffer = QByteArray("");
            auto request = takeRequest(buffer);
            if (!request) {
                const QByteArray more = connection.receive();
                if (more.isEmpty())
                    break;
                buffer += more;
                continue;
            }
            Exchange exchange(std::move(*request), connection);
            handlerFor(exchange.request)(exchange);
            if (exchange.isClosing())
                break;
        }
        connection.shutDown();
    }
    std::lock_guard lock(mutex);
    --open;
    finished.insert(std::this_thread::get_id());
}

TestHttpsServer::TestHttpsServer(const TestCertificate &certificate, std::uint16_t port)
    : state(std::make_shared<State>(contextFor(certificate))) {
    state->port = port;
    state->listen();
}

TestHttpsServer::TestHttpsServer() : state(std::make_shared<State>(Context(nullptr, SSL_CTX_free))) {
    state->listen();
}

TestHttpsServer::~TestHttpsServer() {
    state->stop.writingEnd.close();
    state->acceptor.join();
    for (std::thread &thread : state->threads)
        thread.join();
}

std::uint16_t TestHttpsServer::port() const {
    return state->port;
}

QString TestHttpsServer::base() const {
    return QStringLiteral("%1://127.0.0.1:%2")
        .arg(QLatin1String(state->context ? "https" : "http"))
        .arg(port());
}

QUrl TestHttpsServer::url(const QString &path) const {
    return QUrl(base() + path, QUrl::StrictMode);
}

void TestHttpsServer::on(const QString &path, Handler handler) {
    std::lock_guard lock(state->mutex);
    state->handlers[path] = std::move(handler);
}

void TestHttpsServer::forgetRequests() {
    std::lock_guard lock(state->mutex);
    state->requests.clear();
}

QList<TestRequest> TestHttpsServer::requests() const {
    std::lock_guard lock(state->mutex);
    return state->requests;
}

qsizetype TestHttpsServer::requestCount(const QString &path) const {
    std::lock_guard lock(state->mutex);
    return std::ranges::count_if(state->requests,
                                 [&](const TestRequest &one) { return QString::fromUtf8(one.path) == path; });
}

int TestHttpsServer::connectionCount() const {
    std::lock_guard lock(state->mutex);
    return state->accepted;
}

int TestHttpsServer::openConnectionCount() const {
    std::lock_guard lock(state->mutex);
    return state->open;
}

}  // namespace ferrolt
