#pragma once

#include "VirtualDesktop.h"

#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <optional>

namespace ferrolt {

/// A child of the launcher as the kernel knows it.
struct ChildFacts {
    pid_t id = 0;
    unsigned long long startTime = 0;  ///< in clock ticks since the machine's start
};

/// The built program on a virtual desktop, looked at only from outside.
class Launcher {
  public:
    /// Starts `executable` with `home` as its home folder.
    Launcher(const VirtualDesktop &desktop, const std::filesystem::path &executable,
             const std::filesystem::path &home);
    /// Ends it, and with it its children.
    ~Launcher();

    pid_t id() const { return static_cast<pid_t>(process.processId()); }
    bool isRunning() const { return process.state() == QProcess::Running; }
    QProcess &program() { return process; }

    /// The launcher's own child of that name.
    std::optional<ChildFacts> child(const QString &name) const;

    /// Starts the program once more, as a user would; its exit code.
    int startAgain() const;

    /// Starts it so many times at once; their exit codes.
    QList<int> startManyAgain(int count) const;

    /// The titles of its windows that are in view.
    QStringList visibleWindows() const;

    /// What the console of that title shows, as a screen reader would read it.
    QString consoleText(const QString &title) const;

  private:
    const VirtualDesktop &desktop;
    QString executable;
    QString home;
    QProcess process;
};

/// Whether somebody listens on the port of the loopback address, looked up without connecting to it.
bool isListening(int port);

}  // namespace ferrolt
