#include "SingleInstance.h"

#include "FileDescriptor.h"
#include "MainQueue.h"

#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

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

constexpr const char *lockName = "instance.lock";
constexpr const char *socketName = "reopen.socket";

constexpr auto placeTimeout = 5s;
constexpr auto childrenTimeout = 10s;
constexpr auto pollInterval = 10ms;
constexpr int confirmationMilliseconds = 150;

constexpr std::string_view request = "reopen\n";  ///< the activation token follows, if there is one
constexpr std::size_t maxTokenLength = 256;
constexpr std::size_t maxWaitingConnections = 16;

/// The home folder comes before the session's runtime folder: two launchers, even from different sessions,
/// must not share the client configuration, and that is in the home folder.
std::vector<std::filesystem::path> candidateFolders(const std::filesystem::path &home) {
    const char *const runtimeFolder = std::getenv("XDG_RUNTIME_DIR");
    const std::filesystem::path substitute =
        runtimeFolder != nullptr && *runtimeFolder == '/' ? runtimeFolder : "/tmp";
    return {home / ".local/state/ferrolt-miner-launcher",
            substitute / ("ferrolt-miner-launcher-" + std::to_string(getuid()) + '-' +
                          std::to_string(std::hash<std::string>()(home.native())))};
}

/// Creates the folder and its missing parents with mode 0700. Existing folders stay unchanged.
void makePrivateFolder(const std::filesystem::path &path) {
    std::filesystem::path made;
    for (const std::filesystem::path &part : path) {
        made /= part;
        mkdir(made.c_str(), 0700);
    }
}

/// Opens a folder that only this user can enter, and sets mode 0700 if one of this user's is open to others.
/// Not valid if the folder belongs to another user, is a symbolic link or does not exist.
FileDescriptor openPrivateFolder(const std::filesystem::path &path) {
    FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status {};
    if (!folder.isValid() || fstat(folder.get(), &status) != 0 || status.st_uid != geteuid())
        return {};
    if ((status.st_mode & 077) != 0 && fchmod(folder.get(), 0700) != 0)
        return {};
    return folder;
}

FileDescriptor openLock(const FileDescriptor &folder) {
    FileDescriptor lock(openat(folder.get(), lockName, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    struct stat status {};
    // Another user may have put the file there while the folder was open to all, and could hold its lock.
    if (!lock.isValid() || fstat(lock.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != getuid())
        return {};
    return lock;
}

/// Names the folder by its descriptor, because sun_path holds only 108 bytes and a home folder's path can be
/// longer.
sockaddr_un addressIn(const FileDescriptor &folder) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.get()) + '/' + socketName;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

/// SOCK_SEQPACKET keeps message boundaries and reports when the other side ends.
FileDescriptor newSocket() {
    return FileDescriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

FileDescriptor listenIn(const FileDescriptor &folder) {
    const sockaddr_un address = addressIn(folder);
    unlinkat(folder.get(), socketName, 0);  // left by a launcher that crashed
    FileDescriptor socket = newSocket();
    if (!socket.isValid() ||
        bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(socket.get(), SOMAXCONN) != 0)
        return {};
    return socket;
}

bool isToken(std::string_view text) {
    return text.size() <= maxTokenLength &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7f'; });
}

std::string requestMessage() {
    const char *const token = std::getenv("XDG_ACTIVATION_TOKEN");
    std::string message(request);
    if (token != nullptr && isToken(token))
        message += token;
    return message;
}

/// Sends the request and waits shortly for the confirmation. Returns false if the first launcher hangs up
/// instead: it is being killed, and the caller may get the lock. A launcher that is only busy reads the
/// request later.
bool handOver(const FileDescriptor &folder) {
    const sockaddr_un address = addressIn(folder);
    const FileDescriptor socket = newSocket();
    const std::string message = requestMessage();
    if (!socket.isValid() ||
        connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        send(socket.get(), message.data(), message.size(), MSG_NOSIGNAL) < 0)
        return false;
    pollfd answer{socket.get(), POLLIN, 0};
    if (poll(&answer, 1, confirmationMilliseconds) <= 0)
        return true;
    char confirmation = 0;
    return recv(socket.get(), &confirmation, 1, 0) == 1;
}

/// Whether a launcher that has its lock in this folder took the hand-over.
bool isHandedOverIn(const std::filesystem::path &path) {
    const FileDescriptor folder = openPrivateFolder(path);
    if (!folder.isValid())
        return false;
    const FileDescriptor lock = openLock(folder);
    return lock.isValid() && flock(lock.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK &&
           handOver(folder);
}

/// Identifies a process. The kernel reuses ids, so an id alone may belong to another process later.
struct ProcessIdentity {
    int id = 0;
    unsigned long long startTime = 0;  ///< in clock ticks since the machine's start

    bool operator==(const ProcessIdentity &) const = default;
};

/// Nothing if there is no such process or it is a zombie.
std::optional<ProcessIdentity> identify(int id) {
    const std::ifstream file("/proc/" + std::to_string(id) + "/stat");
    // Not by an iterator of the stream's buffer: it would throw when the process ends before the reading
    // (ESRCH).
    std::ostringstream text;
    text << file.rdbuf();
    const std::string line = text.str();
    const auto name = line.rfind(')');  // the last one: the name itself may contain blanks and parentheses
    if (name == std::string::npos)
        return std::nullopt;
    std::istringstream fields(line.substr(name + 1));
    std::string state;
    fields >> state;
    std::string skipped;
    for (int field = 4; field <= 21; ++field)
        fields >> skipped;
    ProcessIdentity process{.id = id};
    fields >> process.startTime;
    if (!fields || state == "Z" || state == "X")
        return std::nullopt;
    return process;
}

}  // namespace

struct SingleInstance::State {
    struct Connection {
        FileDescriptor socket;
        std::unique_ptr<QSocketNotifier> notifier;
    };

    FileDescriptor lock;
    FileDescriptor socket;
    std::vector<ProcessIdentity> children;
    Reopen reopen;
    std::unique_ptr<QSocketNotifier> notifier;
    std::deque<Connection> connections;

    std::optional<Start> claim(const FileDescriptor &folder);
    void waitForPreviousChildren();
    void acceptOne();
    void receive(int descriptor);
};

/// Nothing if the folder's file system has no locks or no sockets.
std::optional<SingleInstance::Start> SingleInstance::State::claim(const FileDescriptor &folder) {
    FileDescriptor file = openLock(folder);
    if (!file.isValid())
        return std::nullopt;
    const auto deadline = std::chrono::steady_clock::now() + placeTimeout;
    for (;;) {
        if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
            socket = listenIn(folder);
            if (!socket.isValid())
                return std::nullopt;
            lock = std::move(file);
            waitForPreviousChildren();
            return Start::First;
        }
        if (errno != EWOULDBLOCK && errno != EINTR)
            return std::nullopt;
        if (handOver(folder))
            return Start::HandedOver;
        if (std::chrono::steady_clock::now() >= deadline)
            return Start::Unanswered;
        // The first launcher has taken the lock but does not listen yet, or has stopped listening and is
        // about to end.
        std::this_thread::sleep_for(pollInterval);
    }
}

/// A quit does not wait for the children. An engine that needs seconds to end still holds its port; a new
/// engine would then exit at once, and the launcher would stop.
void SingleInstance::State::waitForPreviousChildren() {
    std::array<char, 4096> text{};
    const ssize_t length = pread(lock.get(), text.data(), text.size(), 0);
    std::istringstream lines(std::string(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0));
    const auto deadline = std::chrono::steady_clock::now() + childrenTimeout;
    for (ProcessIdentity child; lines >> child.id >> child.startTime;) {
        while (identify(child.id) == child && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(pollInterval);
    }
    [[maybe_unused]] const int emptied = ftruncate(lock.get(), 0);
}

/// Accepts one connection per event, so that many connections do not block the event loop.
void SingleInstance::State::acceptOne() {
    FileDescriptor accepted(accept4(socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!accepted.isValid()) {
        // Out of descriptors: the connection stays pending, and the notifier would fire in a busy loop.
        if (errno == EMFILE || errno == ENFILE) {
            notifier->setEnabled(false);
            QTimer::singleShot(250ms, notifier.get(), [this] { notifier->setEnabled(true); });
        }
        return;
    }
    if (connections.size() == maxWaitingConnections)
        connections.pop_front();
    const int descriptor = accepted.get();
    Connection &connection = connections.emplace_back(Connection{
        std::move(accepted), std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read)});
    QObject::connect(connection.notifier.get(), &QSocketNotifier::activated, connection.notifier.get(),
                     [this, descriptor] { receive(descriptor); });
}

void SingleInstance::State::receive(int descriptor) {
    const auto connection = std::find_if(connections.begin(), connections.end(), [&](const Connection &each) {
        return each.socket.get() == descriptor;
    });
    if (connection == connections.end())
        return;
    std::array<char, request.size() + maxTokenLength> bytes{};
    // With MSG_TRUNC recv() returns the real length of a message that is too long.
    const ssize_t length = recv(descriptor, bytes.data(), bytes.size(), MSG_TRUNC);
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    const Connection ended = {std::move(connection->socket), nullptr};
    connection->notifier->setEnabled(false);
    connection->notifier.release()->deleteLater();  // its signal is being handled
    connections.erase(connection);
    if (length < static_cast<ssize_t>(request.size()) || length > static_cast<ssize_t>(bytes.size()))
        return;
    const std::string_view message(bytes.data(), static_cast<std::size_t>(length));
    const std::string_view token = message.substr(request.size());
    if (!message.starts_with(request) || !isToken(token))
        return;
    const char confirmation = 1;
    send(descriptor, &confirmation, 1, MSG_NOSIGNAL);
    reopen(std::string(token));
}

SingleInstance::SingleInstance(const std::filesystem::path &home) : state(std::make_unique<State>()) {
    const auto folders = candidateFolders(home);
    for (auto path = folders.begin(); path != folders.end(); ++path) {
        // A failure of the moment, as for lack of memory, must not lead past a launcher that has its lock
        // here.
        for (int attempt = 0; attempt < 2; ++attempt) {
            makePrivateFolder(*path);
            const FileDescriptor folder = openPrivateFolder(*path);
            const auto start = folder.isValid() ? state->claim(folder) : std::nullopt;
            if (!start)
                continue;
            outcome = *start;
            // A launcher that could not use this folder when it started, as on a full disk, has its lock in a
            // later one.
            if (outcome == Start::First && std::any_of(path + 1, folders.end(), isHandedOverIn)) {
                state = std::make_unique<State>();
                outcome = Start::HandedOver;
            }
            return;
        }
    }
}

SingleInstance::~SingleInstance() = default;

void SingleInstance::listen(Reopen reopen) {
    assertMainThread();
    if (!state->socket.isValid())
        return;
    state->reopen = std::move(reopen);
    state->notifier = std::make_unique<QSocketNotifier>(state->socket.get(), QSocketNotifier::Read);
    QObject::connect(state->notifier.get(), &QSocketNotifier::activated, state->notifier.get(),
                     [this] { state->acceptOne(); });
}

void SingleInstance::stopListening() {
    assertMainThread();
    state->connections.clear();
    state->notifier.reset();
    state->socket.close();
}

void SingleInstance::rememberChild(int processIdentifier) {
    assertMainThread();
    const auto child = identify(processIdentifier);
    if (!state->lock.isValid() || !child ||
        std::find(state->children.begin(), state->children.end(), *child) != state->children.end())
        return;
    std::erase_if(state->children, [](const ProcessIdentity &known) { return identify(known.id) != known; });
    state->children.push_back(*child);
    std::string text;
    for (const ProcessIdentity &known : state->children)
        text += std::to_string(known.id) + ' ' + std::to_string(known.startTime) + '\n';
    // If the disk is full, the next start does not wait.
    [[maybe_unused]] const bool isWritten =
        pwrite(state->lock.get(), text.data(), text.size(), 0) >= 0 &&
        ftruncate(state->lock.get(), static_cast<off_t>(text.size())) == 0;
}

}  // namespace ferrolt
