#include "Expect.h"
#include "FuzzInput.h"
#include "SingleInstance.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

constexpr std::size_t maxWaitingConnections = 16;
constexpr std::size_t maxTokenLength = 256;

/// The token of a request, by the plain rule; nothing if the message is no request.
std::optional<std::string> tokenOf(const std::string &message) {
    const std::string request = "reopen\n";
    if (message.compare(0, request.size(), request) != 0)
        return std::nullopt;
    const std::string token = message.substr(request.size());
    for (const char c : token) {
        if (c < 0x21 || c > 0x7E)
            return std::nullopt;
    }
    return token.size() <= maxTokenLength ? std::optional(token) : std::nullopt;
}

/// A launcher that runs, for the life of the process.
class FirstStart {
  public:
    FirstStart() {
        expect(home.isValid() && instance.start() == SingleInstance::Start::First);
        instance.listen([this](const std::string &token) { tokens.push_back(token); });
        const QString path =
            home.filePath(QStringLiteral(".local/state/ferrolt-miner-launcher/reopen.socket"));
        address.sun_family = AF_UNIX;
        expect(path.size() < qsizetype{sizeof address.sun_path});
        path.toStdString().copy(address.sun_path, sizeof address.sun_path - 1);
    }

    int connection() const {
        const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        expect(connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0);
        return socket;
    }

    std::vector<std::string> tokens;  ///< received since somebody looked

  private:
    int argc = 1;
    std::array<char, 5> name{"fuzz"};
    std::array<char *, 2> argv{name.data(), nullptr};
    QCoreApplication application{argc, argv.data()};
    QTemporaryDir home;
    SingleInstance instance{home.path().toStdString()};
    sockaddr_un address{};
};

/// Several later starts, as seen from their side.
class LaterStarts {
  public:
    explicit LaterStarts(FirstStart &first) : first(first) {}
    LaterStarts(const LaterStarts &) = delete;
    LaterStarts &operator=(const LaterStarts &) = delete;
    ~LaterStarts() {
        while (!starts.empty())
            hangUp(0);
        settle();
    }

    bool isEmpty() const { return starts.empty(); }

    void connect() {
        // Those that have hung up may wait too. Which one is the oldest would be a matter of chance.
        if (starts.size() + hungUp == maxWaitingConnections)
            settle();
        starts.push_back({first.connection(), {}});
        if (starts.size() > maxWaitingConnections)
            settle();
    }

    void say(std::size_t which, const QByteArray &message) {
        Start &start = starts[which % starts.size()];
        expect(send(start.socket, message.constData(), static_cast<std::size_t>(message.size()),
                    MSG_NOSIGNAL) == message.size());
        start.messages.push_back(message.toStdString());
    }

    /// A start that ends without waiting for the answer.
    void hangUp(std::size_t which) {
        const auto start = starts.begin() + static_cast<std::ptrdiff_t>(which % starts.size());
        if (!start->messages.empty())
            addExpected(start->messages.front());
        forget(start);
        ++hungUp;
    }

    /// Has the first start handle all that has arrived, and compares what comes of it.
    void settle() {
        // Each turn of the event loop accepts one connection.
        for (std::size_t turn = 0; turn < maxWaitingConnections + 4; ++turn)
            QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (starts.size() > maxWaitingConnections) {
            expect(answerTo(starts.front()) == Answer::HungUp);
            forget(starts.begin());
        }
        for (auto start = starts.begin(); start != starts.end();) {
            if (start->messages.empty()) {
                expect(answerTo(*start) == Answer::None);
                ++start;
                continue;
            }
            const bool isRequest = addExpected(start->messages.front());
            // Whatever follows the first message is not read, and hides the answer.
            if (start->messages.size() == 1)
                expect(answerTo(*start) == (isRequest ? Answer::Confirmed : Answer::HungUp));
            start = forget(start);
        }
        std::sort(expected.begin(), expected.end());
        std::sort(first.tokens.begin(), first.tokens.end());
        expect(first.tokens == expected);
        first.tokens.clear();
        expected.clear();
        hungUp = 0;
    }

  private:
    struct Start {
        int socket;
        std::vector<std::string> messages;
    };
    enum class Answer { None, Confirmed, HungUp };

    static Answer answerTo(const Start &start) {
        char byte = 0;
        const ssize_t length = recv(start.socket, &byte, 1, 0);
        if (length < 0)
            return errno == EAGAIN ? Answer::None : Answer::HungUp;
        return length == 1 ? Answer::Confirmed : Answer::HungUp;
    }

    std::vector<Start>::iterator forget(std::vector<Start>::iterator start) {
        ::close(start->socket);
        return starts.erase(start);
    }

    bool addExpected(const std::string &message) {
        const std::optional<std::string> token = tokenOf(message);
        if (token)
            expected.push_back(*token);
        return token.has_value();
    }

    FirstStart &first;
    std::vector<Start> starts;
    std::size_t hungUp = 0;             ///< since settle()
    std::vector<std::string> expected;  ///< what the starts that are gone have asked for
};

QByteArray messageFrom(FuzzInput &input) {
    const QByteArray piece = input.bytes(input.below(32));
    switch (input.below(4)) {
        case 0:
            return piece;
        case 1:
            return "reopen\n" + piece;
        case 2:
            return "reopen\n" + piece.repeated(static_cast<qsizetype>(input.below(32)));
        default:  // about as long as a token may be
            return "reopen\n" + QByteArray(static_cast<qsizetype>(maxTokenLength - input.below(32)), 't') +
                   piece;
    }
}

}  // namespace

/// Starts the program again any number of times, well behaved or not, and compares what the first start hears
/// and answers with the plain rule: through its real socket.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static FirstStart first;
    FuzzInput input(data, size);
    LaterStarts starts(first);
    while (!input.isEmpty()) {
        const std::size_t action = input.below(16);
        if (action == 0 || starts.isEmpty())
            starts.connect();
        else if (action == 1)
            starts.hangUp(input.below(maxWaitingConnections));
        else if (action < 6)
            starts.settle();
        else
            starts.say(action, messageFrom(input));
    }
    return 0;
}
