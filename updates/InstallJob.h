#pragma once

#include "LibreOfficeInstaller.h"
#include "Metalink.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace ferrolt {

class StagingFolder;

/// The slow part of one installation, from the Metalink document to the installed application. Runs on the
/// work queue.
///
/// `version` comes from the network. It is used in a URL and in log lines only, never in a path or a command.
class InstallJob {
  public:
    using Services = LibreOfficeInstaller::Services;
    using Report = std::function<void(const InstallProgress::Status &)>;

    /// `log` and `report` are called on the work queue's thread. `services` and `isStopped` must outlive the
    /// job. Once `isStopped` is true the user is no longer asked for a password.
    InstallJob(const Services &services, QString version, LibreOfficeInstaller::Log log, Report report,
               const std::atomic<bool> &isStopped);

    /// Blocks until the installation has ended; its staging folder is removed by then. To be called once.
    InstallOutcome run();

    /// The URL of the Metalink document. Deliberately always for "aarch64", on Intel processors too.
    static QString metalinkURL(const QString &server, const QString &version);

    static InstallOutcome authorizationDenied();

    /// Unmounts the image; a failure is ignored.
    static void detachImage(ToolRunner &tools, const std::filesystem::path &mountPoint);

  private:
    std::optional<InstallOutcome> missingProgram();
    InstallOutcome installFrom(const Metalink &metalink, const QString &hash,
                               std::unique_ptr<HttpSession> session);
    bool downloadVerified(const StagingFolder &staging, const QUrl &mirror, const QString &hash,
                          HttpSession &session);
    bool attachImage(const StagingFolder &staging);
    void reportPhase(InstallProgress::Phase phase, std::int64_t done = 0, std::int64_t total = -1);

    const Services &services;
    const QString version;
    const LibreOfficeInstaller::Log log;
    const Report report;
    const std::atomic<bool> &isStopped;
};

}  // namespace ferrolt
