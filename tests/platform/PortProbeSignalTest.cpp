#include "Listener.h"
#include "PortProbe.h"
#include "TestProgram.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <pthread.h>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

std::atomic<int> signalsCaught = 0;

/// A listener with a full backlog: the next connection is established only after one has been accepted.
struct FullListener : ClosedPort {
    std::vector<FileDescriptor> waiting;

    FullListener() {
        listen(socket.get(), 0);
        sockaddr_in at{};
        at.sin_family = AF_INET;
        at.sin_port = htons(static_cast<std::uint16_t>(port));
        at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        for (int i = 0; i < 2; ++i) {
            waiting.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
            static_cast<void>(
                connect(waiting.back().get(), reinterpret_cast<const sockaddr *>(&at), sizeof at));
        }
        fcntl(socket.get(), F_SETFL, O_NONBLOCK);
    }
    void acceptAll() const {
        while (FileDescriptor(accept(socket.get(), nullptr, nullptr)).isValid()) {
        }
    }
};

}  // namespace

class PortProbeSignalTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    /// The signal interrupts connect(), but the attempt continues.
    void aConnectionThatASignalInterruptsIsReachable() {
        struct sigaction action {};
        action.sa_handler = [](int) { ++signalsCaught; };  // without SA_RESTART
        sigaction(SIGUSR1, &action, nullptr);
        const FullListener listener;
        std::atomic<bool> isOver = false;
        bool isReachable = false;
        std::thread prober([&] {
            isReachable = probePort("127.0.0.1", listener.port);
            isOver = true;
        });
        while (!isOver) {
            std::this_thread::sleep_for(20ms);
            pthread_kill(prober.native_handle(), SIGUSR1);
            if (signalsCaught > 3)
                listener.acceptAll();
        }
        prober.join();
        QVERIFY(isReachable);
        QVERIFY(signalsCaught > 3);  // otherwise nothing was interrupted
    }
};

TEST_CLASS(PortProbeSignalTest, QCoreApplication)
#include "PortProbeSignalTest.moc"
