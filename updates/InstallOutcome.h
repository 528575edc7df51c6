#pragma once

#include <QString>

#include <utility>

namespace ferrolt {

/// The result of one LibreOfficeInstaller::install().
class InstallOutcome {
  public:
    enum class Case {
        Installed,             ///< the new copy is in /Applications; text() is its version
        Failed,                ///< nothing was installed; text() is the reason, without a full stop
        AlreadyCurrent,        ///< the application exists, and the recorded version is the wanted one
        SkippedUserInstalled,  ///< the user installed the application without this launcher; not touched
    };

    static InstallOutcome installed(QString version) { return {Case::Installed, std::move(version)}; }
    static InstallOutcome failed(QString reason) { return {Case::Failed, std::move(reason)}; }
    static InstallOutcome alreadyCurrent() { return {Case::AlreadyCurrent, {}}; }
    static InstallOutcome skippedUserInstalled() { return {Case::SkippedUserInstalled, {}}; }

    Case which() const { return kind; }
    const QString &text() const { return payload; }

    friend bool operator==(const InstallOutcome &, const InstallOutcome &) = default;

  private:
    InstallOutcome(Case kind, QString payload) : kind(kind), payload(std::move(payload)) {}

    Case kind;
    QString payload;
};

}  // namespace ferrolt
