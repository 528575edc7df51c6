#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <list>

namespace ferrolt {

/// A desktop without a screen: a session bus, an X display with a window manager, and a runtime folder.
class VirtualDesktop {
  public:
    explicit VirtualDesktop(const QStringList &windowManager = {"openbox", "--sm-disable"},
                            const QString &screenSize = "1280x800");
    ~VirtualDesktop();

    /// The service that did not start; empty if all started.
    QString failure() const { return trouble; }

    /// The environment for programs on this desktop, with `home` as their home folder.
    QProcessEnvironment environment(const QString &home) const;

    /// Sets an environment variable for the programs that are started from now on.
    void setVariable(const QString &name, const QString &value) { variables.insert(name, value); }

    /// The X display's name, such as ":1".
    const QString &displayName() const { return display; }

    /// The session bus's address.
    const QString &busAddress() const { return bus; }

    /// Runs a tool on this desktop and returns its output; if it fails, only the error's text.
    QString run(const QString &program, const QStringList &arguments, int *exitCode = nullptr) const;

    /// The pixels of the whole screen without the pointer, three bytes each.
    QByteArray pixels() const;
    /// Saves the screen as a file, to examine a failure.
    void takePicture(const QString &file) const;

  private:
    bool hasWindowManager() const;
    QProcess &addService();
    QString startWithAnnouncement(const QString &program, const QStringList &arguments);
    QProcessEnvironment base() const;

    QTemporaryDir folder;
    std::list<QProcess> services;
    QString display;
    QString bus;
    QProcessEnvironment variables;
    QString trouble;
};

}  // namespace ferrolt
