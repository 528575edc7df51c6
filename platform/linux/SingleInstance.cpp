#include "SingleInstance.h"

#include "FileDescriptor.h"

#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace ferrolt {

using namespace std::chrono_literals;

namespace {

/// The lock says who is first, the socket carries the word to it. The lock is the kernel's own and ends with
/// its holder. It stands in the home folder and not in a session's run-time folder, because that is what two
/// launchers of one user share: the same client configuration, whatever session each was started from.
FileDescriptor openLock(const std::filesystem::path &home) {
    const std::filesystem::path folder = home / ".local/state/ferrolt-miner-launcher";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    return FileDescriptor(
        open((folder / "instance.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
}

/// An abstract name: it needs no folder and is gone with its owner. Taken from the lock's identity, so that
/// two paths to one home folder agree.
std::string socketName(const FileDescriptor &lock, const std::filesystem::path &home) {
    std::string name = "ferrolt-miner-launcher/" + std::to_string(getuid()) + '/';
    struct stat status {};
    if (lock.isValid() && fstat(lock.get(), &status) == 0)
        return name + std::to_string(status.st_dev) + '.' + std::to_string(status.st_ino);
    return name + std::to_string(std::hash<std::string>()(home.native()));
}

struct Address {
    sockaddr_un value{};
    socklen_t size = 0;

    explicit Address(const std::string &name) {
        value.sun_family = AF_UNIX;
        const std::size_t length = std::min(name.size(), sizeof value.sun_path - 1);
        std::memcpy(value.sun_path + 1, name.data(), length);
        size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
    }
    const sockaddr *generic() const { return reinterpret_cast<const sockaddr *>(&value); }
};

constexpr int confirmationMilliseconds = 150;

FileDescriptor newSocket() {
    return FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/// Abstract names are open to every user of the machine: only one of our own counts.
bool belongsToThisUser(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == getuid();
}

/// Connects, which is the whole message, and gives the first launcher a moment to confirm it. One that is
/// dying, after a kill -9 say, can still be connected to, but hangs up without a word: the caller then tries
/// for its place. One that is merely busy finds the connection when it comes to it.
bool handOver(const Address &address) {
    const FileDescriptor socket = newSocket();
    if (!socket.isValid() || connect(socket.get(), address.generic(), address.size) != 0 ||
        !belongsToThisUser(socket.get()))
        return false;
    pollfd answer{socket.get(), POLLIN, 0};
    if (poll(&answer, 1, confirmationMilliseconds) <= 0)
        return true;
    char confirmation = 0;
    return recv(socket.get(), &confirmation, 1, 0) == 1;
}

FileDescriptor listenAt(const Address &address) {
    FileDescriptor socket = newSocket();
    if (!socket.isValid() || bind(socket.get(), address.generic(), address.size) != 0 ||
        ::listen(socket.get(), SOMAXCONN) != 0)
        return {};
    return socket;
}

constexpr auto patience = 5s;
constexpr auto pause = 10ms;

}  // namespace

struct SingleInstance::State {
    FileDescriptor lock;
    FileDescriptor socket;
    std::unique_ptr<QSocketNotifier> notifier;
    std::function<void()> reopen;

    /// Without a descriptor to spare the connection stays where it is and would call at every turn of the
    /// event loop.
    void lookAgainLater() {
        notifier->setEnabled(false);
        QTimer::singleShot(250ms, notifier.get(), [this] { notifier->setEnabled(true); });
    }

    void acceptAll() {
        bool called = false;
        for (;;) {
            const FileDescriptor connection(accept4(socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!connection.isValid()) {
                if (errno == EMFILE || errno == ENFILE)
                    lookAgainLater();
                break;
            }
            if (belongsToThisUser(connection.get())) {
                called = true;
                const char confirmation = 1;
                send(connection.get(), &confirmation, 1, MSG_NOSIGNAL);
            }
        }
        if (called)
            reopen();
    }
};

SingleInstance::SingleInstance(const std::filesystem::path &home) : state(std::make_unique<State>()) {
    state->lock = openLock(home);
    const Address address(socketName(state->lock, home));
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        // Without a lock file (a home folder that cannot be written) the name itself has to do.
        const bool claimed = !state->lock.isValid() || flock(state->lock.get(), LOCK_EX | LOCK_NB) == 0;
        if (claimed) {
            state->socket = listenAt(address);
            if (state->socket.isValid())
                return;
        }
        if (handOver(address)) {
            outcome = Start::HandedOver;
            return;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            // First all the same when the lock is ours: then only the name is another user's.
            outcome = claimed && state->lock.isValid() ? Start::First : Start::Unanswered;
            return;
        }
        // The first one is between taking the lock and listening, or between its end and the system's tidying
        // up.
        std::this_thread::sleep_for(pause);
    }
}

SingleInstance::~SingleInstance() = default;

void SingleInstance::listen(std::function<void()> reopen) {
    if (!state->socket.isValid())
        return;
    state->reopen = std::move(reopen);
    state->notifier = std::make_unique<QSocketNotifier>(state->socket.get(), QSocketNotifier::Read);
    QObject::connect(state->notifier.get(), &QSocketNotifier::activated, state->notifier.get(),
                     [this] { state->acceptAll(); });
}

void SingleInstance::stopListening() {
    state->notifier.reset();
    state->socket.close();
}

}  // namespace ferrolt
