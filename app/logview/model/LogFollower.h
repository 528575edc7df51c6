#pragma once

#include "LogViewport.h"

#include <QVariantAnimation>

#include <cstddef>
#include <functional>

namespace ferrolt {

/// Scrolls the view of a log: after the newest entry, and where the user wants.
///
/// When the number of entries changes, the marker after the last entry is brought to the bottom edge,
/// wherever the user had scrolled. A change that keeps the number, as when the log is full, does not scroll.
class LogFollower {
  public:
    /// How the newest entry is followed. `None` is for a view that was not shown yet.
    enum class Movement { None, Immediate, Animated };

    /// `onMoved` is called whenever the animation has scrolled the view, which must outlive the follower.
    LogFollower(LogViewport &view, std::function<void()> onMoved);

    /// Follows the newest entry if `entries` is not the number of the previous call.
    void follow(std::size_t entries, Movement movement);
    void jumpToEnd();
    /// Scrolls where the user wants.
    void scrollTo(qint64 offset);
    void stop() { animation.stop(); }
    bool isMoving() const { return animation.state() == QAbstractAnimation::Running; }

    /// What the view keeps when the log changes: the text on screen once the user has scrolled up, else the
    /// offset.
    LogViewport::Hold hold() const { return held; }

  private:
    void startMoving();
    void moveTo(qreal progress);

    LogViewport &view;
    std::function<void()> onMoved;
    QVariantAnimation animation;
    std::size_t followedEntries = 0;
    qint64 distance = 0;  ///< to the end when the animation started
    LogViewport::Hold held = LogViewport::Hold::Offset;
};

}  // namespace ferrolt
