// How LogTextArea scrolls: by its bar, by its user, and after the newest entry.

#include "LogScrollBar.h"
#include "LogTextArea.h"

#include <QStyle>

#include <algorithm>
#include <cmath>

namespace ferrolt {
namespace {

/// QScrollBar counts in int, and adds its page to its maximum.
constexpr qint64 longestBar = 1'000'000'000;

}  // namespace

void LogTextArea::updateScrollBar() {
    barUnit = view.maximum() / longestBar + 1;
    bar->change([this] {
        bar->setSingleStep(static_cast<int>(std::max<qint64>(layout.rowHeight() / barUnit, 1)));
        bar->setPageStep(
            static_cast<int>(std::max<qint64>((view.viewHeight() - layout.rowHeight()) / barUnit, 1)));
        bar->setRange(0, static_cast<int>(view.maximum() / barUnit));
        // The bar may just have come or gone, and with it the width and everything that was set in it.
        bar->setValue(static_cast<int>(view.offset() / barUnit));
    });
}

void LogTextArea::scrollContentsBy(int, int) {
    if (bar->isBeingChanged())
        return;
    scrollByUser(bar->value() == bar->maximum() ? view.maximum() : bar->value() * barUnit);
}

void LogTextArea::scrollByUser(qint64 offset) {
    stopFollowing();
    view.scrollTo(offset);
    view.settle();
    hold = view.showsEnd() ? LogViewport::Hold::Offset : LogViewport::Hold::Text;
    showView();
}

void LogTextArea::startFollowing() {
    hold = LogViewport::Hold::Offset;
    view.settle();
    followDistance = view.followOffset() - view.offset();
    if (followDistance == 0) {
        stopFollowing();
        return;
    }
    if (style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) == 0) {
        // A desktop without animations.
        stopFollowing();
        jumpToEnd();
        return;
    }
    // When more arrives on the way, the movement goes on from where it is.
    following.stop();
    following.start();
}

void LogTextArea::stopFollowing() {
    following.stop();
}

void LogTextArea::follow(qreal progress) {
    if (followDistance == 0)
        return;
    // Measured from where the end is now: what is counted or dropped on the way does not lead astray.
    const auto rest = static_cast<qint64>(std::llround(static_cast<double>(followDistance) * (1 - progress)));
    if (rest == 0)
        jumpToEnd();
    else
        view.scrollTo(view.followOffset() - rest);
    showView();
}

void LogTextArea::jumpToEnd() {
    hold = LogViewport::Hold::Offset;
    // Counting what comes on screen there moves the end; there are few elements to count.
    for (int turn = 0; turn < 16 && view.offset() != view.followOffset(); ++turn) {
        view.scrollTo(view.followOffset());
        view.settle();
    }
}

}  // namespace ferrolt
