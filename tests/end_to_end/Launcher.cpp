#include "Launcher.h"

#include "ProcessFacts.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <fstream>
#include <memory>
#include <vector>

namespace ferrolt {

Launcher::Launcher(const VirtualDesktop &desktop, const std::filesystem::path &executable,
                   const std::filesystem::path &home)
    : desktop(desktop), executable(executable.c_str()), home(home.c_str()) {
    process.setProcessEnvironment(desktop.environment(this->home));
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(this->executable, {});
    process.waitForStarted();
}

Launcher::~Launcher() {
    process.terminate();
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished();
    }
}

std::optional<ChildFacts> Launcher::child(const QString &name) const {
    for (const QString &entry : QDir("/proc").entryList(QDir::Dirs)) {
        if (!entry.front().isDigit())
            continue;
        const auto process = static_cast<pid_t>(entry.toInt());
        const auto stat = processStat(process);
        if (stat && stat->name == name.toStdString() && stat->parent == id() && stat->state != 'Z')
            return ChildFacts{.id = process, .startTime = stat->startTime};
    }
    return std::nullopt;
}

int Launcher::startAgain() const {
    QProcess second;
    second.setProcessEnvironment(desktop.environment(home));
    second.start(executable, {});
    return second.waitForFinished(10000) && second.exitStatus() == QProcess::NormalExit ? second.exitCode()
                                                                                        : -1;
}

QList<int> Launcher::startManyAgain(int count) const {
    std::vector<std::unique_ptr<QProcess>> starts;
    for (int i = 0; i < count; ++i) {
        auto &start = starts.emplace_back(std::make_unique<QProcess>());
        start->setProcessEnvironment(desktop.environment(home));
        start->start(executable, {});
    }
    QList<int> exitCodes;
    for (const auto &start : starts) {
        const bool ended = start->waitForFinished(10000) && start->exitStatus() == QProcess::NormalExit;
        exitCodes << (ended ? start->exitCode() : -1);
    }
    return exitCodes;
}

QStringList Launcher::visibleWindows() const {
    QStringList titles;
    const QString found = desktop.run(
        "xdotool", {"search", "--all", "--onlyvisible", "--pid", QString::number(id()), "--name", "."});
    for (const QString &window : found.split('\n', Qt::SkipEmptyParts))
        titles << desktop.run("xdotool", {"getwindowname", window}).trimmed();
    return titles;
}

QString Launcher::consoleText(const QString &title) const {
    const QString printed = desktop.run(FERROLT_CONSOLE_TEXT, {QString::number(id()), title});
    return printed.section('\n', 1);  // without the heading
}

bool isListening(int port) {
    std::ifstream table("/proc/net/tcp");
    const QString wanted = QString(":%1 00000000:0000 0A").arg(port, 4, 16, QChar('0')).toUpper();
    for (std::string line; std::getline(table, line);) {
        if (line.find(wanted.toStdString()) != std::string::npos)
            return true;
    }
    return false;
}

}  // namespace ferrolt
