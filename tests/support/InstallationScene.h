#pragma once

#include "LibreOfficeInstaller.h"
#include "ManualTime.h"
#include "TestAuthority.h"
#include "TestHttpsServer.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace ferrolt {

/// The version of LibreOffice that the tests install.
inline const QString version = QStringLiteral("26.2.4");

/// For a comparison that fails.
char *toString(const std::optional<InstallOutcome> &outcome);

/// Replaces the tools: records the calls, and "mounts" an application without reading the image.
class SubstituteTools : public ToolRunner {
  public:
    using Call = std::vector<std::string>;  ///< the executable, then the arguments

    bool runTool(const std::filesystem::path &executable, const std::vector<std::string> &arguments,
                 const Progress &progress) override;

    std::string missingProgram() const override { return missing; }

    std::vector<Call> calls() const;

    std::string missing;  ///< a program that is not installed

    /// If set, called first by an attach, to report progress.
    std::function<void(const Progress &progress)> report;

    /// If set, replaces the default attach, which creates an application below the mount point.
    std::function<bool(const std::filesystem::path &image, const std::filesystem::path &mountPoint)> attach;

    /// If set, called by a detach.
    std::function<void(const std::filesystem::path &mountPoint)> detach;

  private:
    mutable std::mutex mutex;
    std::vector<Call> noted;
};

/// Replaces the prompt: by default the user agrees and the copy is made.
class SubstitutePrompt : public PrivilegedCopy {
  public:
    bool privilegedCopy(const std::filesystem::path &source,
                        const std::filesystem::path &destination) override;

    std::string missingProgram() const override { return missing; }

    std::function<bool(const std::filesystem::path &source, const std::filesystem::path &destination)> answer;
    std::string missing;  ///< a program that is not installed
    int asked = 0;
};

/// The surroundings of an installer: a download server with real TLS, a temporary folder, a settings file, an
/// Applications folder, and the log.
class InstallationScene {
  public:
    InstallationScene();

    // First, so that they are destroyed last.
    QTemporaryDir scratch;
    const std::filesystem::path folder = scratch.path().toStdString();
    const std::filesystem::path temporary = folder / "tmp";
    const std::filesystem::path application = folder / "Applications/LibreOffice.app";

    TestAuthority authority;
    TestHttpsServer server;
    LibreOfficeInstaller::Services services;
    std::shared_ptr<SubstituteTools> tools = std::make_shared<SubstituteTools>();
    std::shared_ptr<SubstitutePrompt> prompt = std::make_shared<SubstitutePrompt>();

    /// The body from every good mirror: no real image, but above the minimum size.
    const QByteArray image;

    static QString metalinkPath(const QString &version = QStringLiteral("26.2.4"));
    static QByteArray metalink(const QStringList &urls, const QString &sha256);
    static QString sha256(const QByteArray &content);

    /// Has the server publish a document that names these mirrors and the image's digest.
    void publish(const QStringList &urls, const QString &version = QStringLiteral("26.2.4"));
    /// The URL of a path on the server, which serves the image there.
    QString goodMirror(const QString &path = QStringLiteral("/good.dmg"));

    /// Installs the version and waits for the outcome; nothing after a minute, which is longer than any
    /// single request takes on a machine without a name server.
    std::optional<InstallOutcome> install(const QString &version = QStringLiteral("26.2.4"));

    /// The same with an existing installer.
    std::optional<InstallOutcome> install(LibreOfficeInstaller &installer,
                                          const QString &version = QStringLiteral("26.2.4"));

    /// What was logged so far, in order.
    QStringList log() const;
    LibreOfficeInstaller::Log logger();

    void installBefore(const QByteArray &content = "old");
    std::optional<QString> recorded() const {
        return services.settings->text(LibreOfficeInstaller::versionKey);
    }
    void record(const QString &version) {
        services.settings->setText(LibreOfficeInstaller::versionKey, version);
    }
    /// Whether nothing at all is left in the temporary folder.
    bool isTemporaryFolderEmpty() const;
    /// The installed application's one file; empty if there is none.
    QByteArray installedContent() const;

    static QStringList linesOfAnInstallation(const QStringList &downloads);
    static QString downloading(const QString &host = QStringLiteral("127.0.0.1"));

  private:
    struct Lines {
        std::mutex mutex;
        QStringList lines;
    };
    std::shared_ptr<Lines> lines = std::make_shared<Lines>();
};

}  // namespace ferrolt
