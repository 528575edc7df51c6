#pragma once

#include <QObject>
#include <QString>

#include <cstdint>

namespace ferrolt {

/// The progress of the running installation, for views: the log has no numbers. Main thread only.
class InstallProgress : public QObject {
    Q_OBJECT

  public:
    enum class Phase { Idle, Downloading, Verifying, Installing };

    struct Status {
        Phase phase = Phase::Idle;
        QString version;
        std::int64_t done = 0;    ///< bytes
        std::int64_t total = -1;  ///< bytes; -1 when unknown

        friend bool operator==(const Status &, const Status &) = default;
    };

    using QObject::QObject;

    const Status &status() const { return current; }
    bool isIdle() const { return current.phase == Phase::Idle; }

    /// One line for the user: "LibreOffice 26.2.4: 143 of 298 MB", then "LibreOffice 26.2.4: verifying", then
    /// "LibreOffice 26.2.4: installing"; empty while idle.
    QString text() const;

    /// Called by the installer.
    void set(const Status &status);

  Q_SIGNALS:
    /// After every change; around ten times a second during a download.
    void changed();

  private:
    Status current;
};

}  // namespace ferrolt
