#include "Background.h"
#include "FileDescriptor.h"
#include "Listener.h"
#include "PortProbe.h"
#include "ProcessFacts.h"
#include "TestProgram.h"

#include <QTest>

#include <cstdint>

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

bool usesTriedPort = false;
int lastResult = -1;

}  // namespace

// Replaces the C library's function. The kernel chooses a connection's local port from a range; here the test
// can make it choose the port that is tried.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int connect(int socket, const sockaddr *address, socklen_t size) {
    if (usesTriedPort)
        static_cast<void>(bind(socket, address, size));
    lastResult = static_cast<int>(syscall(SYS_connect, socket, address, size));
    return lastResult;
}

/// probePort() blocks, so it must not run on the main thread.
static bool probe(const std::string &host, std::int64_t port) {
    return inBackground([&] { return probePort(host, port); });
}

class PortProbeTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void anOpenPortIsReachableAndNothingIsSentToIt() {
        const Listener listener;
        QVERIFY(listener.port > 0);
        QVERIFY(probe("127.0.0.1", listener.port));
        const FileDescriptor connection(accept(listener.socket.get(), nullptr, nullptr));
        char byte = 0;
        QCOMPARE(recv(connection.get(), &byte, 1, 0), ssize_t(0));  // closed, without a byte
    }

    void aClosedPortIsNotReachable() {
        std::int64_t port = 0;
        {
            const Listener listener;
            port = listener.port;
        }
        QVERIFY(!probe("127.0.0.1", port));
    }

    void aNumberThatIsNoPortIsNotCutToSixteenBits() {
        const Listener listener;
        QVERIFY(!probe("127.0.0.1", listener.port + 65536));
        QVERIFY(!probe("127.0.0.1", listener.port - 65536));
        QVERIFY(!probe("127.0.0.1", INT64_MAX));
        QVERIFY(!probe("127.0.0.1", 0));
        QVERIFY(!probe("127.0.0.1", -1));
    }

    void aHostThatIsNoDottedAddressIsNotReachable() {
        const Listener listener;
        QVERIFY(!probe("localhost", listener.port));
        QVERIFY(!probe("127.0.0.1.1", listener.port));
        QVERIFY(!probe("", listener.port));
        QVERIFY(!probe("::1", listener.port));
    }

    void everyProbeClosesItsSocket() {
        const Listener listener;
        const int before = openDescriptors();
        for (int i = 0; i < 200; ++i) {
            probe("127.0.0.1", listener.port);
            probe("127.0.0.1", 1);
            probe("nowhere", 1);
            const FileDescriptor connection(accept(listener.socket.get(), nullptr, nullptr));
        }
        QCOMPARE(openDescriptors(), before);
    }

    void aConnectionOfTheSocketWithItselfIsNoEngine() {
        const std::int64_t port = Listener().port;
        usesTriedPort = true;
        const bool isReachable = probe("127.0.0.1", port);
        usesTriedPort = false;
        QCOMPARE(lastResult, 0);  // it was connected to itself
        QVERIFY(!isReachable);
    }
};

TEST_CLASS(PortProbeTest, QCoreApplication)
#include "PortProbeTest.moc"
