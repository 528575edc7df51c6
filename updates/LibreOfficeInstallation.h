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

/// One installation's slow work, from the Metalink document to the installed application. On the work queue.
///
/// The wanted version is a text from the network: it becomes part of a URL and of log lines, and of nothing
/// else.
class LibreOfficeInstallation {
  public:
    using Services = LibreOfficeInstaller::Services;
    using Tell = std::function<void(const InstallProgress::Facts &)>;

    /// `tell` is called on the work queue's thread. Once `isStopped` is true the user is not asked for a
    /// password any more.
    LibreOfficeInstallation(const Services &services, QString version, LibreOfficeInstaller::Log log,
                            Tell tell, const std::atomic<bool> &isStopped);

    /// Blocks until it is done. Whatever was staged is gone then.
    InstallOutcome run();

    /// The text of the Metalink document's URL. The image for Apple processors is right for every Mac: the
    /// launcher for Intel ones asks for the same.
    static QString metalinkURL(const QString &server, const QString &version);

    static InstallOutcome authorizationDenied();

    /// Takes the image off the mount point; whether that worked is of no interest.
    static void detachImage(ToolRunner &tools, const std::filesystem::path &mountPoint);

  private:
    std::optional<InstallOutcome> missingProgram();
    InstallOutcome installFrom(const Metalink &metalink, const QString &hash,
                               std::unique_ptr<HttpSession> session);
    bool downloadVerified(const StagingFolder &staging, const QUrl &mirror, const QString &hash,
                          HttpSession &session);
    bool attachImage(const StagingFolder &staging);
    void tellPhase(InstallProgress::Phase phase, std::int64_t done = 0, std::int64_t total = -1);

    const Services &services;
    const QString version;
    const LibreOfficeInstaller::Log log;
    const Tell tell;
    const std::atomic<bool> &isStopped;
};

}  // namespace ferrolt
