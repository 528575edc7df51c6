#include "InstallJob.h"

#include "MainQueue.h"
#include "Sha256.h"
#include "StagingFolder.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

// Constants without a destructor: the work queue's thread may outlive the static objects at the process's
// end.
constexpr const char *diskImageTool = "/usr/bin/hdiutil";
constexpr const char *mountFailed = "failed to mount the LibreOffice disk image";

/// In bytes. A smaller file is an error page that a server sent with status 200.
constexpr std::uintmax_t minImageSize = 1'000'001;

/// Each mirror may take up to 15 minutes, the session's resource timeout.
constexpr qsizetype maxMirrors = 1000;

/// In a log line. A host name has at most 253 characters.
constexpr qsizetype maxMirrorNameLength = 255;

bool isSha256(const QString &text) {
    return text.size() == 64 && std::all_of(text.begin(), text.end(), [](QChar digit) {
               return (digit >= QLatin1Char('0') && digit <= QLatin1Char('9')) ||
                      (digit >= QLatin1Char('a') && digit <= QLatin1Char('f'));
           });
}

std::optional<QByteArray> fetchData(HttpSession &session, const QUrl &url) {
    HttpReply reply = session.fetchData(url);
    if (!reply.isComplete() || reply.statusCode != 200 || reply.body.isEmpty())
        return std::nullopt;
    return std::move(reply.body);
}

}  // namespace

InstallJob::InstallJob(const Services &services, QString version, LibreOfficeInstaller::Log log,
                       Report report, const std::atomic<bool> &isStopped)
    : services(services),
      version(std::move(version)),
      log(std::move(log)),
      report(std::move(report)),
      isStopped(isStopped) {}

InstallOutcome InstallJob::authorizationDenied() {
    return InstallOutcome::failed(QStringLiteral("authorization was denied or the privileged copy failed"));
}

QString InstallJob::metalinkURL(const QString &server, const QString &version) {
    return server + QStringLiteral("/libreoffice/stable/") + version +
           QStringLiteral("/mac/aarch64/LibreOffice_") + version + QStringLiteral("_MacOS_aarch64.dmg.meta4");
}

void InstallJob::detachImage(ToolRunner &tools, const fs::path &mountPoint) {
    tools.runTool(diskImageTool, {"detach", mountPoint.string(), "-force"});
}

void InstallJob::reportPhase(InstallProgress::Phase phase, std::int64_t done, std::int64_t total) {
    report({.phase = phase, .version = version, .done = done, .total = total});
}

InstallOutcome InstallJob::run() {
    assertNotMainThread();
    // StrictMode: a version with a blank, a quote or a line break makes an invalid URL. TolerantMode would
    // encode these characters.
    const QUrl url(metalinkURL(services.server, version), QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        return InstallOutcome::failed(QStringLiteral("could not build Metalink URL for version ") + version);

    if (const auto failure = missingProgram())
        return *failure;

    auto session = std::make_unique<HttpSession>(services.http);
    log(QStringLiteral("Fetching LibreOffice ") + version + QStringLiteral(" download info\u2026\n"));
    const auto document = fetchData(*session, url);
    if (!document)
        return InstallOutcome::failed(QStringLiteral("failed to download Metalink file"));
    const Metalink metalink = parseMetalink(*document);
    if (metalink.mirrors.isEmpty())
        return InstallOutcome::failed(QStringLiteral("no download URLs in Metalink file"));
    if (!metalink.sha256 || !isSha256(*metalink.sha256))
        return InstallOutcome::failed(QStringLiteral("no valid SHA-256 hash in Metalink file"));
    return installFrom(metalink, *metalink.sha256, std::move(session));
}

InstallOutcome InstallJob::installFrom(const Metalink &metalink, const QString &hash,
                                       std::unique_ptr<HttpSession> session) {
    std::error_code failure;
    const auto staging = StagingFolder::create(services.temporaryFolder, failure);
    if (!staging)
        return InstallOutcome::failed(QStringLiteral("could not create staging directory: ") +
                                      QString::fromLocal8Bit(failure.message()));

    const auto mirrors = metalink.mirrors.first(std::min(metalink.mirrors.size(), maxMirrors));
    const bool isVerified = std::any_of(mirrors.begin(), mirrors.end(), [&](const QUrl &mirror) {
        return downloadVerified(*staging, mirror, hash, *session);
    });
    session.reset();  // closes its connections: the remaining steps may take minutes
    if (!isVerified)
        return InstallOutcome::failed(
            QStringLiteral("could not download a verified LibreOffice DMG from any mirror"));

    fs::create_directories(staging->mountPoint(), failure);
    log(QStringLiteral("Mounting disk image\u2026\n"));
    if (!attachImage(*staging))
        return InstallOutcome::failed(QString::fromLatin1(mountFailed));

    // symlink_status: with a link of this name the administrator would copy a folder of the image's
    // author's choice.
    if (fs::symlink_status(staging->applicationInImage(), failure).type() != fs::file_type::directory) {
        detachImage(*services.tools, staging->mountPoint());
        return InstallOutcome::failed(QStringLiteral("LibreOffice.app not found in the mounted image"));
    }

    if (isStopped) {
        detachImage(*services.tools, staging->mountPoint());
        return authorizationDenied();
    }
    log(QStringLiteral(
        "Installing LibreOffice to /Applications (administrator authorization required)\u2026\n"));
    reportPhase(InstallProgress::Phase::Installing);
    if (!services.privilegedCopy->privilegedCopy(staging->applicationInImage(), services.application)) {
        detachImage(*services.tools, staging->mountPoint());
        return authorizationDenied();
    }
    log(QStringLiteral("LibreOffice ") + version + QStringLiteral(" installed successfully.\n"));
    detachImage(*services.tools, staging->mountPoint());
    return InstallOutcome::installed(version);
}

/// Called before the download, so that 300 MB are not fetched in vain at every check. The outcome is the same
/// as when the program turns out to be missing later; the log line names the program for the user.
std::optional<InstallOutcome> InstallJob::missingProgram() {
    const auto failure = [this](const std::string &program, const QString &reason) {
        log(QStringLiteral("LibreOffice cannot be installed: ") + QString::fromStdString(program) +
            QStringLiteral(" is missing on this computer.\n"));
        return InstallOutcome::failed(reason);
    };
    if (const std::string program = services.tools->missingProgram(); !program.empty())
        return failure(program, QString::fromLatin1(mountFailed));
    if (const std::string program = services.privilegedCopy->missingProgram(); !program.empty())
        return failure(program, authorizationDenied().text());
    return std::nullopt;
}

/// Tries one mirror once. The image stays in the staging folder only when its digest is right.
bool InstallJob::downloadVerified(const StagingFolder &staging, const QUrl &mirror, const QString &hash,
                                  HttpSession &session) {
    const QString host = mirror.host().isEmpty() ? mirror.toString() : mirror.host();
    log(QStringLiteral("Downloading LibreOffice from ") + host.left(maxMirrorNameLength) +
        QStringLiteral("\u2026\n"));
    reportPhase(InstallProgress::Phase::Downloading);
    const fs::path image = staging.image();
    const HttpReply reply =
        session.downloadFile(mirror, image, [this](std::int64_t received, std::int64_t total) {
            reportPhase(InstallProgress::Phase::Downloading, received, total);
        });
    if (!reply.isComplete() || reply.statusCode != 200)
        return false;

    std::error_code failure;
    const std::uintmax_t size = fs::file_size(image, failure);
    if (!failure && size >= minImageSize) {
        log(QStringLiteral("Verifying download\u2026\n"));
        reportPhase(InstallProgress::Phase::Verifying);
        const auto digest = sha256OfFile(image);
        if (digest == hash)
            return true;
        if (digest)
            log(QStringLiteral("Checksum mismatch from this mirror; trying another.\n"));
    }
    fs::remove(image, failure);
    return false;
}

bool InstallJob::attachImage(const StagingFolder &staging) {
    using namespace std::chrono_literals;
    reportPhase(InstallProgress::Phase::Installing);
    auto lastReport = std::chrono::steady_clock::now();
    const auto progress = [&](std::uint64_t done, std::uint64_t total) {
        const auto now = std::chrono::steady_clock::now();
        if (now - lastReport < 100ms)
            return;
        lastReport = now;
        reportPhase(InstallProgress::Phase::Installing, static_cast<std::int64_t>(done),
                    static_cast<std::int64_t>(total));
    };
    return services.tools->runTool(diskImageTool,
                                   {"attach", staging.image().string(), "-mountpoint",
                                    staging.mountPoint().string(), "-nobrowse", "-readonly", "-quiet"},
                                   progress);
}

}  // namespace ferrolt
