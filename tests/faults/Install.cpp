#include "InstallationScene.h"
#include "MainQueue.h"
#include "Operations.h"
#include "RunProcess.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>

#include <fstream>
#include <iterator>
#include <thread>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

std::string contentsOf(const fs::path &file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// The prompt that the user accepts. As in the shipped launcher a program makes the copy, and puts it into
/// place by two renames: wherever it is killed, the application is the old one, the new one, or not there.
class AcceptedPrompt : public PrivilegedCopy {
  public:
    bool privilegedCopy(const fs::path &source, const fs::path &destination) override {
        return runProcess("/bin/sh", {"-ec",
                                      R"(rm -rf "$2.new" "$2.old"
                                         cp -a "$1" "$2.new"
                                         [ ! -e "$2" ] || mv -T "$2" "$2.old"
                                         mv -T "$2.new" "$2"
                                         rm -rf "$2.old")",
                                      "copy", source.string(), destination.string()});
    }
    std::string missingProgram() const override { return {}; }
};

/// Above the minimum size of an image.
QByteArray smallImage() {
    const QByteArray noise = testPattern() + testPattern();
    TestHfsVolume volume(QStringLiteral("LibreOffice"));
    const auto app = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("LibreOffice.app"));
    volume.addFile(app, QStringLiteral("content"), noise.left(1'100'000));
    volume.addFile(app, QStringLiteral("more"), "more");
    volume.addLink(app, QStringLiteral("link"), "content");
    return udifImage(volume.bytes(), UdifBlocks::Zlib);
}

}  // namespace

void serveInstallation(const fs::path &folder) {
    const TestAuthority authority;
    TestHttpsServer server(authority.issue());
    const QByteArray image = smallImage();
    server.on(QStringLiteral("/image.dmg"), TestHttpsServer::replies(200, image));
    server.on(InstallationScene::metalinkPath(),
              TestHttpsServer::replies(
                  200, InstallationScene::metalink({server.url(QStringLiteral("/image.dmg")).toString()},
                                                   InstallationScene::sha256(image))));
    std::ofstream(folder / "authority.pem", std::ios::binary) << authority.certificate().toStdString();
    std::ofstream(folder / "server.new") << server.base().toStdString();
    fs::rename(folder / "server.new", folder / "server");
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

Operation install(const fs::path &folder) {
    LibreOfficeInstaller::Services services;
    services.server = QString::fromStdString(contentsOf(folder / "server"));
    services.http.extraAuthorities = QByteArray::fromStdString(contentsOf(folder / "authority.pem"));
    services.application = folder / "Applications/LibreOffice.app";
    services.temporaryFolder = folder / "tmp";
    services.settings = std::make_shared<SettingsStore>(folder / "config/settings.json");
    services.tools = systemToolRunner();
    services.privilegedCopy = std::make_shared<AcceptedPrompt>();
    services.workQueue = std::make_shared<WorkQueue>("test.libreoffice-install", QualityOfService::Utility);
    return [installer = std::make_shared<LibreOfficeInstaller>(services)] {
        QByteArray told;
        QEventLoop loop;
        installer->install(version, {}, [&](const InstallOutcome &outcome) {
            constexpr const char *names[] = {"installed ", "failed ", "alreadyCurrent ",
                                             "skippedUserInstalled "};
            told = names[static_cast<int>(outcome.which())] + outcome.text().toUtf8();
            loop.quit();
        });
        loop.exec();
        // What a killed process left is removed in the background.
        if (installer->workQueue->async([&loop] { MainQueue::async([&loop] { loop.quit(); }); }))
            loop.exec();
        return told.toStdString();
    };
}

}  // namespace ferrolt
