#pragma once

#include <QObject>
#include <QString>

#include <cstdint>

namespace ferrolt {

/// How far an installation is: what the log does not say, for whoever wants to watch. Main thread.
class InstallProgress : public QObject {
    Q_OBJECT

  public:
    enum class Phase { Idle, Downloading, Verifying, Installing };

    struct Facts {
        Phase phase = Phase::Idle;
        QString version;
        std::int64_t done = 0;    ///< bytes
        std::int64_t total = -1;  ///< bytes; -1 if nobody knows

        friend bool operator==(const Facts &, const Facts &) = default;
    };

    using QObject::QObject;

    const Facts &facts() const { return current; }
    bool isIdle() const { return current.phase == Phase::Idle; }

    /// One line for people: "LibreOffice 26.2.4: 143 of 298 MB", then "LibreOffice 26.2.4: verifying", then
    /// "LibreOffice 26.2.4: installing"; empty while idle.
    QString text() const;

    /// Sets what is so now. For the installer.
    void set(const Facts &facts);

  Q_SIGNALS:
    /// The facts are no longer what they were. At most some ten times a second.
    void changed();

  private:
    Facts current;
};

}  // namespace ferrolt
