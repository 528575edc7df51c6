#include "UpdateServers.h"

#include "TreeSnapshot.h"

#include <QCryptographicHash>
#include <QUrl>

namespace ferrolt {

namespace fs = std::filesystem;

const QString UpdateServers::version = "26.8.1";
const QString UpdateServers::manifestPath = "/download/updates/macminerdeploy.json";
const QString UpdateServers::metalinkPath =
    "/libreoffice/stable/" + version + "/mac/aarch64/LibreOffice_" + version + "_MacOS_aarch64.dmg.meta4";
const QString UpdateServers::imagePath = "/image.dmg";
const QStringList UpdateServers::mirrorHosts{"one.mirror.example", "two.mirror.example",
                                             "three.mirror.example"};

static QString hostOf(const char *address) {
    return QUrl(address).host();
}

UpdateServers::UpdateServers(const TestAuthority &authority)
    : origin(authority.issue({hostOf(FERROLT_UPDATE_SERVER), hostOf(FERROLT_LIBREOFFICE_SERVER)}), 443) {
    for (const QString &host : mirrorHosts)
        mirrors.push_back(std::make_unique<TestHttpsServer>(authority.issue({host})));
}

std::vector<std::string> UpdateServers::servedHosts() {
    std::vector<std::string> names;
    for (const QString &host :
         mirrorHosts + QStringList{hostOf(FERROLT_UPDATE_SERVER), hostOf(FERROLT_LIBREOFFICE_SERVER)})
        names.push_back(host.toStdString());
    return names;
}

void UpdateServers::publish(const QByteArray &image) {
    origin.on(manifestPath,
              TestHttpsServer::replies(
                  200, "{\"checkUpdateInterval\": 6, \"libreofficeversion\": \"" + version.toUtf8() + "\"}"));
    QByteArray document =
        "<metalink xmlns=\"urn:ietf:params:xml:ns:metalink\"><file name=\"image\">"
        "<hash type=\"sha-256\">" +
        QCryptographicHash::hash(image, QCryptographicHash::Sha256).toHex() + "</hash>";
    for (std::size_t i = 0; i < mirrors.size(); ++i)
        document += "<url>https://" + mirrorHosts[static_cast<qsizetype>(i)].toUtf8() + ':' +
                    QByteArray::number(mirrors[i]->port()) + imagePath.toUtf8() + "</url>";
    origin.on(metalinkPath, TestHttpsServer::replies(200, document + "</file></metalink>"));
    mirrors[0]->on(imagePath, TestHttpsServer::replies(404, "not here"));
    mirrors[1]->on(imagePath, TestHttpsServer::replies(200, QByteArray(500'000, ' ')));
    mirrors[2]->on(imagePath, [this, image](TestExchange &exchange) {
        while (!mayDeliver && exchange.pause(10)) {
        }
        exchange.reply(200, image);
    });
}

void makeApplicationVolume(const fs::path &folder) {
    const fs::path contents = folder / "LibreOffice.app/Contents";
    fs::create_directories(contents / "MacOS");
    writeFile(contents / "MacOS/soffice", testPattern() + testPattern());
    fs::permissions(contents / "MacOS/soffice", fs::perms(0755));
    writeFile(contents / "\u00dcbersicht.txt", "accents");
    fs::create_symlink("MacOS/soffice", contents / "link");
    fs::create_symlink("/Applications", folder / "Applications");
}

}  // namespace ferrolt
