#include "LogFollower.h"

#include <cmath>
#include <utility>

namespace ferrolt {
namespace {

constexpr int animationMilliseconds = 300;

}  // namespace

LogFollower::LogFollower(LogViewport &view, std::function<void()> onMoved)
    : view(view), onMoved(std::move(onMoved)) {
    animation.setStartValue(0.0);
    animation.setEndValue(1.0);
    animation.setDuration(animationMilliseconds);
    animation.setEasingCurve(QEasingCurve::OutCubic);
    QObject::connect(&animation, &QVariantAnimation::valueChanged, &animation,
                     [this](const QVariant &progress) { moveTo(progress.toDouble()); });
}

void LogFollower::follow(std::size_t entries, Movement movement) {
    if (std::exchange(followedEntries, entries) == entries)
        return;
    if (movement == Movement::Animated) {
        startMoving();
    } else if (movement == Movement::Immediate) {
        stop();
        jumpToEnd();
    }
}

void LogFollower::startMoving() {
    held = LogViewport::Hold::Offset;
    view.settle();
    distance = view.followOffset() - view.offset();
    // When entries arrive during the movement, it starts again from where the view is.
    animation.stop();
    if (distance != 0)
        animation.start();
}

void LogFollower::moveTo(qreal progress) {
    // Measured back from the end, which rows that are counted and entries that are dropped meanwhile move.
    const auto rest = static_cast<qint64>(std::llround(static_cast<double>(distance) * (1 - progress)));
    if (rest == 0)
        jumpToEnd();
    else
        view.scrollTo(view.followOffset() - rest);
    onMoved();
}

void LogFollower::jumpToEnd() {
    held = LogViewport::Hold::Offset;
    // Counting the rows that come on screen at the end moves the end. A round that counts none is the last,
    // and no element is counted twice; only those that fit on a screen at one row each come on screen.
    while (view.offset() != view.followOffset()) {
        view.scrollTo(view.followOffset());
        view.settle();
    }
}

void LogFollower::scrollTo(qint64 offset) {
    animation.stop();
    view.scrollTo(offset);
    view.settle();
    held = view.showsEnd() ? LogViewport::Hold::Offset : LogViewport::Hold::Text;
}

}  // namespace ferrolt
