#include "ProcessFacts.h"
#include "SingleInstance.h"
#include "TestProgram.h"

#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

bool processesVanish = false;

}  // namespace

/// Replaces the C library's function in this program: a process that ends after its file in /proc was opened,
/// and before that is read.
extern "C" ssize_t read(int descriptor, void *bytes, size_t count) {
    std::error_code failure;
    const auto file =
        std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), failure).string();
    if (processesVanish && file.starts_with("/proc/") && file.ends_with("/stat")) {
        errno = ESRCH;
        return -1;
    }
    return syscall(SYS_read, descriptor, bytes, count);
}

using namespace ferrolt;

class VanishingProcessTest : public QObject {
    Q_OBJECT

    const QTemporaryDir folder;
    const std::filesystem::path home = folder.path().toStdString();
    const std::filesystem::path lock = home / ".local/state/ferrolt-miner-launcher/instance.lock";

  private Q_SLOTS:
    void init() { processesVanish = false; }

    void aPreviousChildThatEndsWhileItIsLookedAtHoldsNoStartUp() {
        std::filesystem::create_directories(lock.parent_path());
        std::ofstream(lock) << getpid() << " 1\n";
        processesVanish = true;
        const SingleInstance instance(home);
        QCOMPARE(instance.start(), SingleInstance::Start::First);
        QCOMPARE(processState(getpid()), '\0');  // the replaced function was in force
    }

    void aChildThatEndsWhileItIsRememberedIsLeftOut() {
        SingleInstance instance(home);
        processesVanish = true;
        instance.rememberChild(getpid());
        processesVanish = false;
        QVERIFY(std::filesystem::is_empty(lock));
    }
};

TEST_CLASS(VanishingProcessTest, QCoreApplication)
#include "VanishingProcessTest.moc"
