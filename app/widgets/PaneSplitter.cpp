#include "PaneSplitter.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>

namespace ferrolt {
namespace {

constexpr int keyStep = 16;
constexpr int focusLineWidth = 2;

class PaneSplitterHandle : public QSplitterHandle {
  public:
    PaneSplitterHandle(Qt::Orientation orientation, QSplitter *parent)
        : QSplitterHandle(orientation, parent) {
        setFocusPolicy(Qt::TabFocus);
    }

  protected:
    void paintEvent(QPaintEvent *event) override {
        QSplitterHandle::paintEvent(event);
        if (!hasFocus())
            return;
        // Qt 6.4 does not tell the style that a handle has the focus.
        QStyleOptionFocusRect line;
        line.initFrom(this);
        if (orientation() == Qt::Horizontal)
            line.rect = QRect((width() - focusLineWidth) / 2, 0, focusLineWidth, height());
        else
            line.rect = QRect(0, (height() - focusLineWidth) / 2, width(), focusLineWidth);
        QPainter painter(this);
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &line, &painter, this);
    }

    void keyPressEvent(QKeyEvent *event) override {
        const bool isHorizontal = orientation() == Qt::Horizontal;
        int step = 0;
        if (event->key() == (isHorizontal ? Qt::Key_Left : Qt::Key_Up))
            step = -keyStep;
        else if (event->key() == (isHorizontal ? Qt::Key_Right : Qt::Key_Down))
            step = keyStep;
        if (step == 0) {
            QSplitterHandle::keyPressEvent(event);
            return;
        }
        moveSplitter((isHorizontal ? x() + width() / 2 : y() + height() / 2) - splitter()->handleWidth() / 2 +
                     step);
    }
};

}  // namespace

PaneSplitter::PaneSplitter(Qt::Orientation orientation, const QString &handleName, QWidget *parent)
    : QSplitter(orientation, parent), handleName(handleName) {
    setChildrenCollapsible(false);
}

QSplitterHandle *PaneSplitter::createHandle() {
    auto *handle = new PaneSplitterHandle(orientation(), this);
    handle->setAccessibleName(handleName);
    return handle;
}

}  // namespace ferrolt
