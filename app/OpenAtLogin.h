#pragma once

#include "LoginItem.h"

#include <QObject>

#include <memory>

class QAction;

namespace ferrolt {

class AlertPresenter;

/// The switch "Open at Login": one checkable action for all menus. It shows the log-in item as it is whenever
/// a menu with it opens. A change that fails takes the switch back and shows an alert with the reason. Main
/// thread.
class OpenAtLogin : public QObject {
    Q_OBJECT

  public:
    OpenAtLogin(std::unique_ptr<LoginItem> item, std::shared_ptr<AlertPresenter> alerts);

    /// Owned by this object.
    QAction *action() const { return toggle; }
    /// To be called after the action was added to menus.
    void followMenus();

    bool isOn() const { return item->state() == LoginItem::State::On; }
    void switchTo(LoginItem::State wanted);

  private:
    void refresh();

    std::unique_ptr<LoginItem> item;
    std::shared_ptr<AlertPresenter> alerts;
    QAction *toggle;
    bool isAlertShown = false;
};

}  // namespace ferrolt
