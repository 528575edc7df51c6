#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace ferrolt {

/// Runs practice-session-manager for a virtual desktop. Its main.cpp lists the commands and the output.
class SessionManager {
  public:
    SessionManager();
    ~SessionManager();

    /// The value of SESSION_MANAGER for the session's programs; empty if it did not start.
    const QString &address() const { return where; }

    void tell(const QString &word);
    /// Waits, up to a deadline, until it prints `line` after the output that earlier calls have consumed.
    bool says(const QString &line);
    /// All its output until now.
    const QStringList &said();

  private:
    QProcess process;
    QString where;
    QStringList lines;
    qsizetype heard = 0;
};

}  // namespace ferrolt
