#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <list>

namespace ferrolt {

/// A desktop that nobody looks at: a session bus, an X display with a window manager, and a run-time folder.
class VirtualDesktop {
  public:
    explicit VirtualDesktop(const QStringList &windowManager = {"openbox", "--sm-disable"},
                            const QString &screenSize = "1280x800");
    ~VirtualDesktop();

    /// What did not start; empty when all did.
    QString failure() const { return trouble; }

    /// The environment for programs that are to open on it, with `home` as their home folder.
    QProcessEnvironment environment(const QString &home) const;

    /// Gives a variable to every program that is started from here on.
    void setVariable(const QString &name, const QString &value) { variables.insert(name, value); }

    /// Where its display is: ":1".
    const QString &displayName() const { return display; }

    /// Where its session bus is.
    const QString &busAddress() const { return bus; }

    /// Runs a tool on it and gives what it printed; nothing but its failure's text when it fails.
    QString run(const QString &program, const QStringList &arguments, int *exitCode = nullptr) const;

    /// What is on the whole screen, without the pointer: three bytes a pixel.
    QByteArray pixels() const;
    /// The same as a file, to look into a failure.
    void takePicture(const QString &file) const;

  private:
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
