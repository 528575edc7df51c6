#include "OpenAtLogin.h"

#include "AlertPresenter.h"
#include "MainQueue.h"

#include <QAction>
#include <QMenu>
#include <QPointer>

#include <utility>

namespace ferrolt {

OpenAtLogin::OpenAtLogin(std::unique_ptr<LoginItem> item, std::shared_ptr<AlertPresenter> alerts)
    : item(std::move(item)),
      alerts(std::move(alerts)),
      toggle(new QAction(QStringLiteral("Open at Lo&gin"), this)) {
    assertMainThread();
    toggle->setCheckable(true);
    refresh();
    connect(toggle, &QAction::triggered, this,
            [this](bool isChecked) { switchTo(isChecked ? LoginItem::State::On : LoginItem::State::Off); });
}

void OpenAtLogin::followMenus() {
    for (QObject *place : toggle->associatedObjects())
        if (auto *menu = qobject_cast<QMenu *>(place))
            connect(menu, &QMenu::aboutToShow, this, &OpenAtLogin::refresh, Qt::UniqueConnection);
}

void OpenAtLogin::refresh() {
    toggle->setChecked(isOn());
}

void OpenAtLogin::switchTo(LoginItem::State wanted) {
    const auto failure = item->set(wanted);
    refresh();
    // From the tray it can be clicked again while the alert is shown.
    if (!failure || std::exchange(isAlertShown, true))
        return;
    alerts->present({.style = AlertStyle::Informational,
                     .messageText = QStringLiteral("“Open at Login” Was Not Changed"),
                     .informativeText = *failure,
                     .button = QStringLiteral("OK")},
                    [self = QPointer(this)] {
                        if (self)
                            self->isAlertShown = false;
                    });
}

}  // namespace ferrolt
