#pragma once

#include "VirtualDesktop.h"

#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <optional>

namespace ferrolt {

/// A child of the launcher, from /proc.
struct ChildFacts {
    pid_t id = 0;
    unsigned long long startTime = 0;  ///< in clock ticks since the machine's start
};

/// The built program on a virtual desktop, observed only from outside.
class Launcher {
  public:
    /// Starts `executable` with `home` as its home folder.
    Launcher(const VirtualDesktop &desktop, const std::filesystem::path &executable,
             const std::filesystem::path &home);
    /// Ends the program and its children.
    ~Launcher();

    pid_t id() const { return static_cast<pid_t>(process.processId()); }
    bool isRunning() const { return process.state() == QProcess::Running; }
    QProcess &program() { return process; }

    /// The launcher's own child of that name.
    std::optional<ChildFacts> child(const QString &name) const;

    /// Starts the program a second time, as a user would, and returns that start's exit code.
    int startAgain() const;

    /// Starts the program `count` times at once and returns the exit codes.
    QList<int> startManyAgain(int count) const;

    /// The titles of its visible windows.
    QStringList visibleWindows() const;

    /// The text of the console with that title, as a screen reader gets it.
    QString consoleText(const QString &title) const;

  private:
    const VirtualDesktop &desktop;
    QString executable;
    QString home;
    QProcess process;
};

/// Whether a program listens on the loopback port. Looked up in /proc, without connecting.
bool isListening(int port);

}  // namespace ferrolt
