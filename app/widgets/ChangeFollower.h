#pragma once

#include <QObject>

#include <functional>

class QWidget;

namespace ferrolt {

/// Redraws a view after changes that are announced before they happen. However many announcements come in one
/// turn of the event loop, the view is refreshed once, after all of them; while it is hidden, not at all, and
/// then when it is shown, before its first paint. Main thread; a child of its view.
class ChangeFollower : public QObject {
    Q_OBJECT

  public:
    ChangeFollower(QWidget *view, std::function<void()> refresh);

    /// To be connected to the announcement.
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
