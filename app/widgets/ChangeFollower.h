#pragma once

#include <QObject>

#include <functional>

class QWidget;

namespace ferrolt {

/// Refreshes a view after changes that are announced before they happen. Batches the announcements of one
/// turn of the event loop into one refresh. A hidden view is not refreshed until it is shown, before its
/// first paint.
///
/// Main thread. Owned by the view.
class ChangeFollower : public QObject {
    Q_OBJECT

  public:
    ChangeFollower(QWidget *view, std::function<void()> refresh);

    /// Connect the announcement to this.
    void changeAnnounced();

  protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    QWidget *view;
    std::function<void()> refresh;
    bool isRefreshPosted = false;
};

}  // namespace ferrolt
