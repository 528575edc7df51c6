#include "PaneSplitter.h"

#include "Drawing.h"
#include "Theme.h"

#include <QEvent>
#include <QKeyEvent>
#include <QPainter>

namespace ferrolt {
namespace {

constexpr int keyStep = 16;
constexpr qreal focusLineWidth = 2;

class PaneSplitterHandle : public QSplitterHandle {
  public:
    PaneSplitterHandle(Qt::Orientation orientation, QSplitter *parent)
        : QSplitterHandle(orientation, parent) {
        setFocusPolicy(Qt::TabFocus);
    }

  protected:
    void paintEvent(QPaintEvent *) override {
        if (!hasFocus())
            return;
        QPainter painter(this);
        QRectF line = rect();
        if (orientation() == Qt::Horizontal)
            line.adjust((width() - focusLineWidth) / 2, 0, -(width() - focusLineWidth) / 2, 0);
        else
            line.adjust(0, (height() - focusLineWidth) / 2, 0, -(height() - focusLineWidth) / 2);
        painter.fillRect(Drawing::snapped(painter, line), Theme::accent(palette()));
    }

    void keyPressEvent(QKeyEvent *event) override {
        const bool sideways = orientation() == Qt::Horizontal;
        int step = 0;
        if (event->key() == (sideways ? Qt::Key_Left : Qt::Key_Up))
            step = -keyStep;
        else if (event->key() == (sideways ? Qt::Key_Right : Qt::Key_Down))
            step = keyStep;
        if (step == 0) {
            QSplitterHandle::keyPressEvent(event);
            return;
        }
        moveSplitter((sideways ? x() + width() / 2 : y() + height() / 2) - splitter()->handleWidth() / 2 +
                     step);
    }

    void focusInEvent(QFocusEvent *event) override {
        QSplitterHandle::focusInEvent(event);
        update();
    }

    void focusOutEvent(QFocusEvent *event) override {
        QSplitterHandle::focusOutEvent(event);
        update();
    }
};

}  // namespace

PaneSplitter::PaneSplitter(Qt::Orientation orientation, const QString &dividerName, QWidget *parent)
    : QSplitter(orientation, parent), dividerName(dividerName) {
    setChildrenCollapsible(false);
}

QSplitterHandle *PaneSplitter::createHandle() {
    auto *handle = new PaneSplitterHandle(orientation(), this);
    handle->setAccessibleName(dividerName);
    return handle;
}

}  // namespace ferrolt
