#include "FirstTimeNotices.h"

#include "AppVars.h"
#include "DesktopNotifications.h"
#include "FilePath.h"
#include "JsonFile.h"
#include "LoadProps.h"
#include "MainQueue.h"
#include "OpenAtLogin.h"
#include "StateFolder.h"

#include <QPointer>

#include <utility>

namespace ferrolt {
namespace {

const QString runsOn = QStringLiteral("runsOnBehindClosedWindow");
const QString startsAtLogin = QStringLiteral("openAtLogin");

QString wordsFor(FirstTimeNotices::WayBack wayBack) {
    switch (wayBack) {
        case FirstTimeNotices::WayBack::SecondStart:
            return QStringLiteral("start the program again");
        case FirstTimeNotices::WayBack::Tray:
            return QStringLiteral("click the icon in the tray, or start the program again");
    }
    return {};
}

}  // namespace

FirstTimeNotices::FirstTimeNotices(std::shared_ptr<AppVars> appVars, OpenAtLogin &openAtLogin,
                                   DesktopNotifications &notifications, QString stateFile)
    : appVars(std::move(appVars)),
      openAtLogin(openAtLogin),
      notifications(notifications),
      stateFile(std::move(stateFile)),
      isIdentityComplete(LoadProps::isIdentityComplete()) {
    assertMainThread();
}

QString FirstTimeNotices::defaultStateFile() {
    return stateFolder() + QStringLiteral("/notices.json");
}

bool FirstTimeNotices::isFirst(const QString &notice) {
    if (told.contains(notice))
        return false;
    told.insert(notice);
    return !JsonFile::read(pathOf(stateFile)).value_or(QJsonObject()).value(notice).toBool();
}

/// A failure is ignored: the notice is shown once more in a later run.
void FirstTimeNotices::remember(const QString &notice) const {
    auto all = JsonFile::read(pathOf(stateFile)).value_or(QJsonObject());
    all.insert(notice, true);
    static_cast<void>(JsonFile::write(pathOf(stateFile), all));
}

void FirstTimeNotices::windowClosed(WayBack wayBack) {
    assertMainThread();
    if (!appVars->_isLumRunning || !appVars->_isQorClientRunning || !isFirst(runsOn))
        return;
    notifications.show(
        {.title = QStringLiteral("The miner keeps running"),
         .body = QStringLiteral("Lumora Core and Qor Client run on behind the closed window. "
                                "To see it again, %1.")
                     .arg(wordsFor(wayBack)),
         .button = {}},
        [self = QPointer(this)] {
            if (self)
                self->remember(runsOn);
        },
        [] {});
}

void FirstTimeNotices::settingsSaved() {
    assertMainThread();
    const bool wasComplete = std::exchange(isIdentityComplete, LoadProps::isIdentityComplete());
    if (wasComplete || !isIdentityComplete || openAtLogin.isOn() || !isFirst(startsAtLogin))
        return;
    notifications.show(
        {.title = QStringLiteral("Mine after every log-in?"),
         .body = QStringLiteral("The miner can start by itself, without its window, whenever you log in. "
                                "You can change this later: “Open at Login” in the program's menu."),
         .button = QStringLiteral("Open at Login")},
        [self = QPointer(this)] {
            if (self)
                self->remember(startsAtLogin);
        },
        [self = QPointer(this)] {
            if (self)
                self->openAtLogin.switchTo(LoginItem::State::On);
        });
}

}  // namespace ferrolt
