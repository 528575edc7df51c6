#include "LauncherStyle.h"

#include "Drawing.h"
#include "FocusRing.h"
#include "Theme.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QPainter>
#include <QStyleOptionButton>
#include <QStyleOptionSlider>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int scrollBarWidth = 14;
constexpr int handleMargin = 3;  ///< between the handle and the bar's edges
constexpr int minHandleLength = 28;
constexpr qreal cornerRadius = 6;
constexpr QSize minButtonSize(80, 32);
constexpr int roomBesideLabel = 14;

/// What a scroll bar stands on is what its area shows beside it.
QColor groundOf(const QWidget *scrollBar, const QPalette &palette) {
    const QWidget *parent = scrollBar;
    while (parent != nullptr && qobject_cast<const QAbstractScrollArea *>(parent) == nullptr)
        parent = parent->parentWidget();
    const QWidget *const view =
        parent != nullptr ? static_cast<const QAbstractScrollArea *>(parent)->viewport() : nullptr;
    return view != nullptr ? palette.color(QPalette::Active, view->backgroundRole())
                           : Theme::windowBackground(palette);
}

QRect handleOf(const QStyleOptionSlider &bar) {
    const bool isUpright = bar.orientation == Qt::Vertical;
    const int length = isUpright ? bar.rect.height() : bar.rect.width();
    const qint64 range = qint64{bar.maximum} - bar.minimum;
    const qint64 wanted = range > 0 ? length * qint64{bar.pageStep} / (range + bar.pageStep) : length;
    const int handle =
        static_cast<int>(std::clamp<qint64>(wanted, std::min(minHandleLength, length), length));
    const int place = QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition,
                                                      length - handle, bar.upsideDown);
    return isUpright ? QRect(bar.rect.x(), bar.rect.y() + place, bar.rect.width(), handle)
                     : QRect(bar.rect.x() + place, bar.rect.y(), handle, bar.rect.height());
}

void drawScrollBar(const QStyleOptionSlider &bar, QPainter &painter, const QWidget *widget) {
    const QColor ground = groundOf(widget, bar.palette);
    painter.fillRect(bar.rect, ground);
    if (bar.maximum <= bar.minimum)
        return;
    const bool isHeld = bar.activeSubControls.testFlag(QStyle::SC_ScrollBarSlider) &&
                        (bar.state & (QStyle::State_Sunken | QStyle::State_MouseOver));
    const QRect handle = QStyle::visualRect(bar.direction, bar.rect, handleOf(bar))
                             .adjusted(handleMargin, handleMargin, -handleMargin, -handleMargin);
    Drawing::fillRounded(painter, handle, (scrollBarWidth - 2 * handleMargin) / 2.0,
                         Theme::handleOn(ground, isHeld));
}

bool isDefault(const QStyleOptionButton &button) {
    return button.features.testFlag(QStyleOptionButton::DefaultButton);
}

QColor inkOf(const QStyleOptionButton &button) {
    return isDefault(button) ? Theme::onAccent(button.palette) : Theme::primaryText(button.palette);
}

void drawButtonSurface(const QStyleOptionButton &button, QPainter &painter) {
    QColor surface =
        isDefault(button) ? Theme::accent(button.palette) : Theme::controlBackground(button.palette);
    if (button.state.testFlag(QStyle::State_Sunken))
        surface = surface.darker(125);
    else if (button.state.testFlag(QStyle::State_MouseOver))
        surface = surface.darker(108);
    Drawing::fillRounded(painter, button.rect, cornerRadius, surface);
    if (!isDefault(button))
        Drawing::strokeRounded(painter, button.rect, cornerRadius, Theme::separator(button.palette));
}

void drawButtonFocus(const QStyleOptionButton &button, QPainter &painter) {
    if (!isDefault(button)) {
        FocusRing::draw(painter, button.rect, cornerRadius, button.palette);
        return;
    }
    // In the label's colour and off the edge: a ring of the accent colour would not show here.
    for (const int inset : {2, 3})
        Drawing::strokeRounded(painter, button.rect.adjusted(inset, inset, -inset, -inset),
                               cornerRadius - inset, inkOf(button));
}

}  // namespace

LauncherStyle::LauncherStyle() : QProxyStyle(QStringLiteral("fusion")) {}

void LauncherStyle::install() {
    if (QApplication::style()->name() == QStringLiteral("fusion"))
        QApplication::setStyle(new LauncherStyle);
}

void LauncherStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                                       QPainter *painter, const QWidget *widget) const {
    const auto *const bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control == CC_ScrollBar && bar != nullptr)
        drawScrollBar(*bar, *painter, widget);
    else
        QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QRect LauncherStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                                    SubControl part, const QWidget *widget) const {
    const auto *const bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control != CC_ScrollBar || bar == nullptr)
        return QProxyStyle::subControlRect(control, option, part, widget);
    const bool isUpright = bar->orientation == Qt::Vertical;
    QRect place = bar->rect;
    const QRect handle = handleOf(*bar);
    switch (part) {
        case SC_ScrollBarGroove:
            break;
        case SC_ScrollBarSlider:
            place = handle;
            break;
        case SC_ScrollBarSubPage:
            if (isUpright)
                place.setBottom(handle.top() - 1);
            else
                place.setRight(handle.left() - 1);
            break;
        case SC_ScrollBarAddPage:
            if (isUpright)
                place.setTop(handle.bottom() + 1);
            else
                place.setLeft(handle.right() + 1);
            break;
        default:  // arrow buttons
            return QRect();
    }
    return visualRect(bar->direction, bar->rect, place);
}

void LauncherStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                                const QWidget *widget) const {
    const auto *const button = qstyleoption_cast<const QStyleOptionButton *>(option);
    if (element != CE_PushButton || button == nullptr) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    drawButtonSurface(*button, *painter);
    QStyleOptionButton label(*button);
    label.rect = subElementRect(SE_PushButtonContents, button, widget);
    if (button->state.testFlag(State_Enabled))
        label.palette.setColor(QPalette::ButtonText, inkOf(*button));
    QProxyStyle::drawControl(CE_PushButtonLabel, &label, painter, widget);
    if (button->state.testFlag(State_HasFocus) && button->state.testFlag(State_KeyboardFocusChange))
        drawButtonFocus(*button, *painter);
}

QSize LauncherStyle::sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                                      const QWidget *widget) const {
    if (type != CT_PushButton)
        return QProxyStyle::sizeFromContents(type, option, size, widget);
    return QSize(size.width() + 2 * roomBesideLabel, size.height() + roomBesideLabel)
        .expandedTo(minButtonSize);
}

int LauncherStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const {
    if (metric == PM_ScrollBarExtent)
        return scrollBarWidth;
    return QProxyStyle::pixelMetric(metric, option, widget);
}

}  // namespace ferrolt
