#pragma once

#include "AlertPresenter.h"

#include <QObject>
#include <QPointer>

#include <deque>
#include <functional>

class QMessageBox;

namespace ferrolt {

/// Shows alerts as message boxes that block the application's windows but not its event loop. An alert
/// belongs to no window: it appears also while none is shown, and stays when one is closed.
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

  private:
    struct Pending {
        Alert alert;
        std::function<void()> dismissed;
    };

    bool eventFilter(QObject *watched, QEvent *event) override;
    void showNext();
    /// The icon, the fonts and the widths as the desktop wants them now.
    void adapt();
    void answered();

    std::deque<Pending> pending;  ///< the first one is on screen
    QPointer<QMessageBox> box;
};

}  // namespace ferrolt
