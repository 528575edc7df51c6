#pragma once

#include "AlertPresenter.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

#include <deque>
#include <functional>

class QMessageBox;

namespace ferrolt {

/// Shows alerts as message boxes that do not block the application's event loop. While the main window is
/// shown an alert belongs to it: it appears over its middle, stays above it and blocks it (on macOS it is a
/// sheet). While there is no such window, or once that is closed, the alert stands alone and blocks all.
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
    /// Makes the main window, if it is shown, the alert's transient parent. Window managers read that when
    /// the alert appears.
    void attach();
    /// What a modal alert blocks.
    Qt::WindowModality modality() const;
    /// Shows the alert again, after the main window was shown, activated or closed.
    void appearAgain();
    /// Updates the icon, fonts and widths after a change of palette, font, style or screen.
    void adapt();
    void answered();

    std::deque<Pending> pending;  ///< the first one is shown
    QPointer<QMessageBox> box;
    QElapsedTimer sinceShown;
    QElapsedTimer sinceAnswered;  ///< the alert before; not valid before the first answer
    QPointer<QWidget> mainWindow;
};

}  // namespace ferrolt
