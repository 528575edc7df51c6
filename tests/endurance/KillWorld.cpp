#include "KillWorld.h"

#include "PrivateSystem.h"
#include "TestDiskImage.h"
#include "TreeSnapshot.h"

#include <stdexcept>

namespace ferrolt {

namespace fs = std::filesystem;

const fs::path KillWorld::applications = "/Applications";
const fs::path KillWorld::application = applications / "LibreOffice.app";
const fs::path KillWorld::promptFolder = "/prompt";
const std::string KillWorld::oldVersion = "26.7.1";

namespace {

/// Many small files beside the large one, so that unpacking and copying take a while.
void addSmallFiles(const fs::path &volume, const std::string &content) {
    for (int folder = 0; folder < 12; ++folder) {
        const fs::path below = volume / "LibreOffice.app/Contents/Resources" / std::to_string(folder);
        fs::create_directories(below);
        for (int file = 0; file < 12; ++file)
            writeFile(below / std::to_string(file), QByteArray::fromStdString(content + below.string()));
    }
}

void setUpSystem(const TestAuthority &authority) {
    fs::create_directories(KillWorld::promptFolder);
    PrivateSystem::setHosts(UpdateServers::servedHosts());
    PrivateSystem::setCertificates(PrivateSystem::Certificates::Both, authority.certificate().toStdString());
}

}  // namespace

std::string KillWorld::prompt() {
    // pkexec's own option is "--disable-internal-agent"; it sets PKEXEC_UID to the user who asked.
    return "shift\n: >" + (promptFolder / "asked").string() +
           "\nPKEXEC_UID=$(id -u) exec setpriv --pdeathsig clear -- \"$@\"\n";
}

KillWorld::KillWorld() : servers((setUpSystem(authority), authority)) {
    if (!desktop.failure().isEmpty())
        throw std::runtime_error(desktop.failure().toStdString());
    oldVolume = fs::path(volumes.path().toStdString()) / "old";
    newVolume = fs::path(volumes.path().toStdString()) / "new";
    for (const auto &[volume, content] : {std::pair(oldVolume, "old"), std::pair(newVolume, "new")}) {
        makeApplicationVolume(volume);
        addSmallFiles(volume, content);
    }
    oldTree = treeSnapshot(oldVolume / "LibreOffice.app");
    newTree = treeSnapshot(newVolume / "LibreOffice.app");
    const QByteArray hfs = hfsPlusVolumeOf(QString::fromStdString(newVolume.string()), "LibreOffice 26.8");
    if (hfs.isEmpty())
        throw std::runtime_error("xorriso is needed to write an HFS+ volume");
    const QByteArray image = udifImage(hfs, UdifBlocks::Zlib);
    servers.publish(image);
    // Slowly enough for a kill in the middle.
    servers.mirrors.back()->on(UpdateServers::imagePath, [this, image](TestExchange &exchange) {
        ++imageRequests;
        exchange.head(200, {{"Content-Length", QByteArray::number(image.size())}});
        const qsizetype piece = image.size() / 16 + 1;
        for (qsizetype at = 0; at < image.size() && exchange.send(image.mid(at, piece)); at += piece)
            exchange.pause(10);
    });
}

void KillWorld::install(Installed what) const {
    fs::remove_all(applications);
    fs::create_directory(applications);
    if (what != Installed::Nothing)
        fs::copy((what == Installed::Old ? oldVolume : newVolume) / "LibreOffice.app", application,
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
}

KillWorld::Installed KillWorld::installed() const {
    for (const fs::directory_entry &entry : fs::directory_iterator(applications))
        if (entry.path() != application)
            throw std::runtime_error("left in /Applications: " + entry.path().string());
    if (!fs::exists(application))
        return Installed::Nothing;
    const Tree tree = treeSnapshot(application);
    if (tree == newTree)
        return Installed::Current;
    if (tree == oldTree)
        return Installed::Old;
    throw std::runtime_error("torn application: " + treeDifference(tree, newTree).toStdString());
}

}  // namespace ferrolt
