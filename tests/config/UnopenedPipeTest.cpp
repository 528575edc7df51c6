#include "ClientHome.h"
#include "FileDescriptor.h"
#include "LoadProps.h"
#include "SaveProps.h"
#include "TestProgram.h"

#include <QTest>

#include <array>
#include <filesystem>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

/// Opening a pipe or device in the configuration's place could trigger another program.
class UnopenedPipeTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aNamedPipeIsNotEvenOpened();
};

void UnopenedPipeTest::aNamedPipeIsNotEvenOpened() {
    const ClientHome home;
    const std::filesystem::path path = home.configuration();
    std::filesystem::create_directories(path.parent_path());
    QCOMPARE(::mkfifo(path.c_str(), 0600), 0);
    const FileDescriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    QVERIFY(::inotify_add_watch(watch.get(), path.c_str(), IN_OPEN) >= 0);
    const auto wasOpened = [&] {
        alignas(inotify_event) std::array<char, 4096> events;
        return ::read(watch.get(), events.data(), events.size()) > 0;
    };
    QCOMPARE(LoadProps::MinerEmailAddress(), QString());
    SaveProps::save({}, {}, {});
    QVERIFY(!wasOpened());
    const FileDescriptor open(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    QVERIFY(wasOpened());  // so the watch works
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::UnopenedPipeTest, QCoreApplication)
#include "UnopenedPipeTest.moc"
