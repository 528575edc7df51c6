#include "DesktopSession.h"

#include "MainQueue.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QSessionManager>

#include <utility>

namespace ferrolt {
namespace {

/// A launcher that runs when the session ends is started again with the next session; one that was quit
/// before is not.
void rememberInSession(QSessionManager &manager) {
    manager.setRestartHint(QSessionManager::RestartIfRunning);
    // Without the session manager's own arguments: the program takes none.
    manager.setRestartCommand({QCoreApplication::applicationFilePath()});
    manager.setDiscardCommand({});
}

}  // namespace

DesktopSession::DesktopSession(std::function<void()> save) : save(std::move(save)) {
    assertMainThread();
    // Direct connections: Qt answers the session manager when the signal returns.
    connect(
        qApp, &QGuiApplication::commitDataRequest, this, [this] { this->save(); }, Qt::DirectConnection);
    connect(qApp, &QGuiApplication::saveStateRequest, this, &rememberInSession, Qt::DirectConnection);
}

}  // namespace ferrolt
