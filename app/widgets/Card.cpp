#include "Card.h"

#include "Drawing.h"
#include "Theme.h"

#include <QPainter>

namespace ferrolt {
namespace {

constexpr qreal cardRadius = 8;

}  // namespace

void Card::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    Drawing::fillRounded(painter, rect(), cardRadius, Theme::controlBackground(palette()));
    if (Theme::contrastOf(palette()) == Theme::Contrast::High)
        Drawing::strokeRounded(painter, rect(), cardRadius, Theme::separator(palette()));
}

}  // namespace ferrolt
