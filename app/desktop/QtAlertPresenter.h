#pragma once

#include "AlertPresenter.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

#include <deque>
#include <functional>

class QMessageBox;

namespace ferrolt {

/// Shows alerts as message boxes that block the application's windows but not its event loop. An alert stays
/// above the main window whenever that is shown; it appears also while it is not, and stays when it is
/// closed.
///
/// A warning does not take the keyboard from another program: it asks for attention, and blocks the main
/// window once the user turns to that. Warnings and critical alerts take no keys in their first second, which
/// may be meant for the window that had the keyboard before. (Wayland lets no program appear without the
/// keyboard where the compositor gives it to every new window.)
///
/// States: idle --present()--> showing, others waiting in their order --answered--> showing the next, or
/// idle.
class QtAlertPresenter : public QObject, public AlertPresenter {
    Q_OBJECT

  public:
    QtAlertPresenter() = default;
    /// What is shown or waits goes, unanswered.
    ~QtAlertPresenter() override;

    void present(const Alert &alert, std::function<void()> dismissed) override;

    /// The window above which alerts stay. Not owned.
    void setMainWindow(QWidget *window);

  private:
    struct Pending {
        Alert alert;
        std::function<void()> dismissed;
    };

    bool eventFilter(QObject *watched, QEvent *event) override;
    void showNext();
    /// Tells the window manager above which window the alert is to stay; heard only when the alert appears.
    void attach();
    /// Once more, above a main window that was shown or got the keyboard after it.
    void appearAgain();
    /// The icon, the fonts and the widths as the desktop wants them now.
    void adapt();
    void answered();

    std::deque<Pending> pending;  ///< the first one is on screen
    QPointer<QMessageBox> box;
    QElapsedTimer sinceShown;
    QPointer<QWidget> mainWindow;
};

}  // namespace ferrolt
