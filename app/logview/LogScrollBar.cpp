#include "LogScrollBar.h"

#include <QPaintEvent>
#include <QStyle>
#include <QStyleOptionSlider>

#include <utility>

namespace ferrolt {

void LogScrollBar::change(const std::function<void()> &set) {
    const bool outer = std::exchange(isBeingSet, true);
    set();
    isBeingSet = outer;
    if (look() != painted)
        update();
}

LogScrollBar::Look LogScrollBar::look() const {
    QStyleOptionSlider option;
    initStyleOption(&option);
    return {style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this),
            value() == minimum(), value() == maximum()};
}

void LogScrollBar::paintEvent(QPaintEvent *event) {
    QScrollBar::paintEvent(event);
    if (event->region() == QRegion(rect()))
        painted = look();
}

void LogScrollBar::sliderChange(SliderChange change) {
    // All that the base does here is to have itself drawn.
    if (!isBeingSet)
        QScrollBar::sliderChange(change);
}

}  // namespace ferrolt
