#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace ferrolt {

class AppVars;

/// The program's item in the desktop's tray: how its two services fare, a way to the window and one to quit.
/// Its icon bears a stop mark after the permanent stop.
/// To be made when there is a tray; should that go and come back, the item comes back with it. Main thread.
class TrayItem : public QObject {
    Q_OBJECT

  public:
    explicit TrayItem(std::shared_ptr<AppVars> appVars);
    ~TrayItem() override;

    /// The two services, a line each, in the words of the window's status rows.
    QString statusText() const;

  Q_SIGNALS:
    void openRequested();
    void quitRequested();

  protected:
    bool event(QEvent *event) override;

  private:
    void changeAnnounced();
    void refresh();

    std::shared_ptr<AppVars> appVars;
    std::unique_ptr<QMenu> menu;
    std::unique_ptr<QSystemTrayIcon> icon;
    bool isRefreshPosted = false;
    bool isStopShown = false;
};

}  // namespace ferrolt
