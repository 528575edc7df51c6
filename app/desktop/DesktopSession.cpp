#include "DesktopSession.h"

#include "MainQueue.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QSessionManager>

#include <utility>

namespace ferrolt {
namespace {

/// The log-in item alone starts the program with a session. A start by the session manager beside that would
/// be the second one, which opens the window.
void leaveOutOfSession(QSessionManager &manager) {
    manager.setRestartHint(QSessionManager::RestartNever);
    // The protocol demands a command. Without the session manager's own arguments: the program takes none.
    manager.setRestartCommand({QCoreApplication::applicationFilePath()});
    manager.setDiscardCommand({});
}

}  // namespace

DesktopSession::DesktopSession(std::function<void()> save) : save(std::move(save)) {
    assertMainThread();
    // Direct connections: Qt answers the session manager when the signal returns.
    connect(
        qApp, &QGuiApplication::commitDataRequest, this, [this] { this->save(); }, Qt::DirectConnection);
    connect(qApp, &QGuiApplication::saveStateRequest, this, &leaveOutOfSession, Qt::DirectConnection);
}

}  // namespace ferrolt
