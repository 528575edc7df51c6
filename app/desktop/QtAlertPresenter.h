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
/// above the main window. It also appears while the main window is hidden, and stays when it is closed.
///
/// A warning does not take the keyboard focus from another program: it asks for attention, and blocks the
/// main window once the user activates that. Warnings and critical alerts ignore keys in their first second:
/// they may be meant for the window that had the focus. (A Wayland compositor that focuses every new window
/// focuses a warning, too.)
///
/// States: idle --present()--> showing, with others queued --answered--> showing the next, or idle.
///
/// Main thread.
class QtAlertPresenter : public QObject, public AlertPresenter {
    Q_OBJECT

  public:
    QtAlertPresenter() = default;
    /// Closes the alert that is shown and drops the queued ones; `dismissed` is not called.
    ~QtAlertPresenter() override;

    void present(const Alert &alert, std::function<void()> dismissed) override;

    /// Alerts stay above this window. Not owned; call once.
    void setMainWindow(QWidget *window);

  private:
    struct Pending {
        Alert alert;
        std::function<void()> dismissed;
    };

    bool eventFilter(QObject *watched, QEvent *event) override;
    void showNext();
    /// Makes the main window the alert's transient parent. Window managers read that when the alert appears.
    void attach();
    /// Shows the alert again, above a main window that was shown or activated after it.
    void appearAgain();
    /// Updates the icon, fonts and widths after a change of palette, font, style or screen.
    void adapt();
    void answered();

    std::deque<Pending> pending;  ///< the first one is shown
    QPointer<QMessageBox> box;
    QElapsedTimer sinceShown;
    QPointer<QWidget> mainWindow;
};

}  // namespace ferrolt
