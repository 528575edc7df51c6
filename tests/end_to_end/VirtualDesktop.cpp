#include "VirtualDesktop.h"

#include "Waiting.h"

#include <QFile>
#include <QRandomGenerator>

#include <csignal>

#include <sys/prctl.h>

namespace ferrolt {

namespace {

/// A number that no other desktop has, also not one of another network or with the same process ids: servers
/// of the same number take each other's files in /tmp. The X server's own choice is the first that is free in
/// its network.
QString displayNumber() {
    return ":" + QString::number(QRandomGenerator::system()->bounded(100, 50000));
}

}  // namespace

VirtualDesktop::VirtualDesktop(const QStringList &windowManager, const QString &screenSize) {
    QDir(folder.path()).mkdir("runtime");
    QFile::setPermissions(folder.filePath("runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    bus = startWithAnnouncement("dbus-daemon",
                                {"--session", "--nofork", "--nopidfile", "--nosyslog", "--print-address=1"});
    // A server that resets when its last program leaves drops those that connect meanwhile.
    display = startWithAnnouncement("Xvfb", {displayNumber(), "-noreset", "-displayfd", "1", "-screen", "0",
                                             screenSize + "x24", "-nolisten", "tcp"});
    if (!display.isEmpty())
        display.prepend(':');
    auto &manager = addService();
    manager.setProcessEnvironment(environment(folder.path()));
    manager.setStandardErrorFile(QProcess::nullDevice());
    manager.start(windowManager.front(), windowManager.mid(1));
    if (!waitUntil([this] { return hasWindowManager(); }, std::chrono::seconds(60)))
        trouble = windowManager.front() + " does not start";
    // The accessibility bus must run before the first program, because Qt looks for it only once.
    int exitCode = -1;
    run("dbus-send",
        {"--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus.GetAddress"},
        &exitCode);
    if (exitCode != 0)
        trouble = "The accessibility bus does not start";
}

VirtualDesktop::~VirtualDesktop() {
    for (auto service = services.rbegin(); service != services.rend(); ++service) {
        service->terminate();
        if (!service->waitForFinished(5000)) {
            service->kill();
            service->waitForFinished();
        }
    }
}

/// A window that is mapped just when the window manager takes over may never be shown.
bool VirtualDesktop::hasWindowManager() const {
    int exitCode = -1;
    run("xdotool", {"get_num_desktops"}, &exitCode);
    return exitCode == 0;
}

/// A service that ends with the test, also if CTest kills the test after its timeout.
QProcess &VirtualDesktop::addService() {
    auto &service = services.emplace_back();
    service.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    return service;
}

/// Starts a service that prints its address on its first line, and returns that.
QString VirtualDesktop::startWithAnnouncement(const QString &program, const QStringList &arguments) {
    auto &service = addService();
    service.setProcessEnvironment(base());
    service.setStandardErrorFile(QProcess::nullDevice());
    service.start(program, arguments);
    QByteArray announced;
    const bool found = waitUntil(
        [&] {
            announced += service.readAllStandardOutput();
            return announced.contains('\n') || service.state() == QProcess::NotRunning;
        },
        std::chrono::seconds(60));
    if (!found || !announced.contains('\n')) {
        trouble = program + " does not start";
        return {};
    }
    return QString::fromUtf8(announced).trimmed();
}

QProcessEnvironment VirtualDesktop::base() const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"WAYLAND_DISPLAY", "XAUTHORITY", "QT_STYLE_OVERRIDE", "QT_SCALE_FACTOR",
                             "QT_QPA_PLATFORMTHEME", "SESSION_MANAGER"})
        environment.remove(name);
    environment.insert("XDG_RUNTIME_DIR", folder.filePath("runtime"));
    return environment;
}

QProcessEnvironment VirtualDesktop::environment(const QString &home) const {
    QProcessEnvironment environment = base();
    environment.insert("DISPLAY", display);
    environment.insert("DBUS_SESSION_BUS_ADDRESS", bus);
    environment.insert("QT_QPA_PLATFORM", "xcb");
    environment.insert("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    environment.insert("HOME", home);
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
        environment.remove(name);
    environment.insert(variables);
    return environment;
}

QString VirtualDesktop::run(const QString &program, const QStringList &arguments, int *exitCode) const {
    QProcess tool;
    tool.setProcessEnvironment(environment(folder.path()));
    tool.start(program, arguments);
    tool.waitForFinished(30000);
    if (exitCode != nullptr)
        *exitCode = tool.exitStatus() == QProcess::NormalExit ? tool.exitCode() : -1;
    return QString::fromUtf8(tool.readAllStandardOutput());
}

QByteArray VirtualDesktop::pixels() const {
    QProcess tool;
    tool.setProcessEnvironment(environment(folder.path()));
    tool.start("import", {"-window", "root", "-depth", "8", "rgb:-"});
    tool.waitForFinished(30000);
    return tool.readAllStandardOutput();
}

void VirtualDesktop::takePicture(const QString &file) const {
    run("import", {"-window", "root", file});
}

}  // namespace ferrolt
