#include "NewestEntryButton.h"

#include "Drawing.h"
#include "LogTextArea.h"
#include "MainQueue.h"
#include "Symbols.h"
#include "Theme.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QWheelEvent>

namespace ferrolt {
namespace {

constexpr int buttonMargin = 12;     ///< to the edges of the text
constexpr int symbolClearance = 16;  ///< the circle's diameter beyond the symbol's side

}  // namespace

NewestEntryButton::NewestEntryButton(LogTextArea &area, QWidget *parent) : QToolButton(parent), area(area) {
    assertMainThread();
    setIcon(symbolIcon(Symbol::ArrowDown, Theme::accent));
    setToolTip(tr("Newest Entry"));
    setAccessibleName(toolTip());
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
    hide();
    connect(this, &QAbstractButton::clicked, &area, &LogTextArea::scrollToNewest);
    connect(&area, &LogTextArea::showsNewestChanged, this, [this] {
        place();
        setVisible(!this->area.showsNewest());
    });
    area.viewport()->installEventFilter(this);
}

QSize NewestEntryButton::sizeHint() const {
    const int side = iconSize().height() + symbolClearance;
    return QSize(side, side);
}

void NewestEntryButton::place() {
    const QRect text(area.viewport()->mapTo(parentWidget(), QPoint(0, 0)), area.viewport()->size());
    const QRect inside = text.adjusted(buttonMargin, buttonMargin, -buttonMargin, -buttonMargin);
    setGeometry(QStyle::alignedRect(layoutDirection(), Qt::AlignRight | Qt::AlignBottom, sizeHint(), inside));
}

bool NewestEntryButton::event(QEvent *event) {
    const bool isHandled = QToolButton::event(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange ||
        event->type() == QEvent::LayoutDirectionChange)
        place();
    return isHandled;
}

bool NewestEntryButton::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::Resize || event->type() == QEvent::Move)
        place();
    return QToolButton::eventFilter(watched, event);
}

void NewestEntryButton::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal line = Drawing::borderWidth(painter);
    const QRectF circle = QRectF(rect()).adjusted(line / 2, line / 2, -line / 2, -line / 2);
    const QColor surface = Theme::controlBackground(palette());
    painter.setBrush(isDown() ? surface.darker(125) : underMouse() ? surface.darker(108) : surface);
    painter.setPen(QPen(Theme::separator(palette()), line));
    painter.drawEllipse(circle);
    const QSize side = iconSize();
    drawSymbol(painter, Symbol::ArrowDown,
               QRectF(QPointF((width() - side.width()) / 2.0, (height() - side.height()) / 2.0), side),
               Theme::accent(palette()));
}

void NewestEntryButton::wheelEvent(QWheelEvent *event) {
    // The log below it scrolls as it does beside it.
    QCoreApplication::sendEvent(area.viewport(), event);
}

}  // namespace ferrolt
