#include "DesktopSession.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QSessionManager>

#include <utility>

namespace ferrolt {
namespace {

/// Whoever was mining when the session ended mines again when it comes back. A launcher that was quit before
/// stays so.
void rememberInSession(QSessionManager &manager) {
    manager.setRestartHint(QSessionManager::RestartIfRunning);
    // The program takes no arguments; not even the session's own.
    manager.setRestartCommand({QCoreApplication::applicationFilePath()});
    manager.setDiscardCommand({});
}

}  // namespace

DesktopSession::DesktopSession(std::function<void()> save) : save(std::move(save)) {
    // Directly, while the session waits: a queued call would come after the answer.
    connect(
        qApp, &QGuiApplication::commitDataRequest, this, [this] { this->save(); }, Qt::DirectConnection);
    connect(qApp, &QGuiApplication::saveStateRequest, this, &rememberInSession, Qt::DirectConnection);
}

}  // namespace ferrolt
