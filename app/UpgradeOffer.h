#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

class QAction;
class QMessageBox;
class QWidget;

namespace ferrolt {

/// After an upgrade has replaced the running program's file, offers to quit and start the new version: asks
/// above the window, and has an action for menus. Main thread.
class UpgradeOffer : public QObject {
    Q_OBJECT

  public:
    /// `isReplaced` answers from the disk. The window, not owned, must live longer.
    UpgradeOffer(std::function<bool()> isReplaced, QWidget &window);

    /// Visible only while there is a new version, as of the last refresh().
    QAction *action() const { return menuAction; }
    /// To be called before a menu with the action opens.
    void refresh();

    /// Asks, if there is a new version, once the user has asked for the window and it is shown. A question
    /// that is on screen already comes to the front. Does not wait for the answer.
    void ask();

  Q_SIGNALS:
    /// The user wants the new version now, and it is still there.
    void accepted();

  private:
    void accept();

    std::function<bool()> isReplaced;
    QWidget &window;
    QAction *menuAction;
    QPointer<QMessageBox> box;
};

}  // namespace ferrolt
