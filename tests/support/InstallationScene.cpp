#include "InstallationScene.h"

#include "TreeSnapshot.h"
#include "Waiting.h"

#include <QCryptographicHash>

namespace ferrolt {

namespace fs = std::filesystem;

char *toString(const std::optional<InstallOutcome> &outcome) {
    constexpr const char *names[] = {"installed", "failed", "alreadyCurrent", "skippedUserInstalled"};
    if (!outcome)
        return qstrdup("no outcome");
    const QByteArray name = names[static_cast<int>(outcome->which())];
    return qstrdup(QByteArray(name + "(" + outcome->text().toUtf8() + ")").constData());
}

bool SubstituteTools::runTool(const fs::path &executable, const std::vector<std::string> &arguments,
                              const Progress &progress) {
    {
        std::lock_guard lock(mutex);
        Call call{executable.string()};
        call.insert(call.end(), arguments.begin(), arguments.end());
        noted.push_back(std::move(call));
    }
    if (detach && arguments.size() > 1 && arguments[0] == "detach")
        detach(arguments[1]);
    if (arguments.size() < 4 || arguments[0] != "attach")
        return true;
    if (report)
        report(progress);
    if (attach)
        return attach(arguments[1], arguments[3]);
    fs::create_directories(fs::path(arguments[3]) / "LibreOffice.app");
    writeFile(fs::path(arguments[3]) / "LibreOffice.app/content", "new");
    return true;
}

std::vector<SubstituteTools::Call> SubstituteTools::calls() const {
    std::lock_guard lock(mutex);
    return noted;
}

bool SubstitutePrompt::privilegedCopy(const fs::path &source, const fs::path &destination) {
    ++asked;
    if (answer)
        return answer(source, destination);
    fs::remove_all(destination);
    fs::create_directories(destination.parent_path());
    fs::copy(source, destination, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    return true;
}

InstallationScene::InstallationScene()
    : server(authority.issue()), image(testPattern() + QByteArray(150'000, 'x')) {
    fs::create_directories(temporary);
    services.server = server.base();
    services.http.extraAuthorities = authority.certificate();
    services.application = application;
    services.temporaryFolder = temporary;
    services.settings = std::make_shared<SettingsStore>(folder / "settings.ini");
    services.tools = tools;
    services.privilegedCopy = prompt;
    services.workQueue = std::make_shared<WorkQueue>("test.libreoffice-install", QualityOfService::Utility);
}

QString InstallationScene::metalinkPath(const QString &version) {
    return QStringLiteral("/libreoffice/stable/%1/mac/aarch64/LibreOffice_%1_MacOS_aarch64.dmg.meta4")
        .arg(version);
}

QByteArray InstallationScene::metalink(const QStringList &urls, const QString &sha256) {
    QString text = QStringLiteral(
                       "<?xml version=\"1.0\"?>\n<metalink xmlns=\"urn:ietf:params:xml:ns:metalink\">\n"
                       "<file name=\"LibreOffice.dmg\">\n<hash type=\"sha-256\">%1</hash>\n")
                       .arg(sha256);
    for (const QString &url : urls)
        text += QStringLiteral("<url priority=\"1\">%1</url>\n").arg(url.toHtmlEscaped());
    return (text + QStringLiteral("</file>\n</metalink>\n")).toUtf8();
}

QString InstallationScene::sha256(const QByteArray &content) {
    return QString::fromLatin1(QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex());
}

void InstallationScene::publish(const QStringList &urls, const QString &version) {
    server.on(metalinkPath(version), TestHttpsServer::replies(200, metalink(urls, sha256(image))));
}

QString InstallationScene::goodMirror(const QString &path) {
    server.on(path, TestHttpsServer::replies(200, image));
    return server.url(path).toString();
}

std::optional<InstallOutcome> InstallationScene::install(const QString &version) {
    const auto installer = std::make_unique<LibreOfficeInstaller>(services);
    return install(*installer, version);
}

std::optional<InstallOutcome> InstallationScene::install(LibreOfficeInstaller &installer,
                                                         const QString &version) {
    std::optional<InstallOutcome> result;
    installer.install(version, logger(), [&](const InstallOutcome &outcome) { result = outcome; });
    waitUntil([&] { return result.has_value(); }, std::chrono::minutes(1));
    return result;
}

QStringList InstallationScene::log() const {
    std::lock_guard lock(lines->mutex);
    return lines->lines;
}

LibreOfficeInstaller::Log InstallationScene::logger() {
    return [lines = lines](const QString &line) {
        std::lock_guard lock(lines->mutex);
        lines->lines.append(line);
    };
}

void InstallationScene::installBefore(const QByteArray &content) {
    fs::create_directories(application);
    writeFile(application / "content", content);
}

bool InstallationScene::isTemporaryFolderEmpty() const {
    return fs::is_empty(temporary);
}

QByteArray InstallationScene::installedContent() const {
    return readFile(application / "content");
}

QString InstallationScene::downloading(const QString &host) {
    return QStringLiteral("Downloading LibreOffice from %1\u2026\n").arg(host);
}

QStringList InstallationScene::linesOfAnInstallation(const QStringList &downloads) {
    return QStringList{QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n")} + downloads +
           QStringList{
               QStringLiteral("Verifying download\u2026\n"), QStringLiteral("Mounting disk image\u2026\n"),
               QStringLiteral(
                   "Installing LibreOffice to /Applications (administrator authorization required)\u2026\n"),
               QStringLiteral("LibreOffice 26.2.4 installed successfully.\n")};
}

}  // namespace ferrolt
