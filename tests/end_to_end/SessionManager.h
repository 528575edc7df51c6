#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace ferrolt {

/// A session manager for a virtual desktop (practice-session-manager says what it understands and says).
class SessionManager {
  public:
    SessionManager();
    ~SessionManager();

    /// The value of SESSION_MANAGER for the programs of its session; empty when it did not start.
    const QString &address() const { return where; }

    void tell(const QString &word);
    /// Whether it says this, from the last such call on, before a deadline.
    bool says(const QString &line);
    /// What it has said up to now.
    const QStringList &said();

  private:
    QProcess process;
    QString where;
    QStringList lines;
    qsizetype heard = 0;
};

}  // namespace ferrolt
