#include "ThemedLabel.h"

#include <QPainter>
#include <QStyle>

#include <cmath>
#include <limits>

namespace ferrolt {
namespace {

constexpr int unbounded = std::numeric_limits<short>::max();

}  // namespace

ThemedLabel::ThemedLabel(const QString &text, Theme::FontRole fontRole, Theme::ColorRole colorRole,
                         QWidget *parent)
    : QLabel(parent), fontRole(fontRole), colorRole(colorRole) {
    setTextFormat(Qt::PlainText);
    setText(text);
}

int ThemedLabel::flags() const {
    // All texts are English. A right-to-left layout moves them but must not reorder them: "1 of 2" would
    // become "of 2 1".
    return static_cast<int>(QStyle::visualAlignment(layoutDirection(), alignment())) |
           Qt::TextForceLeftToRight | (wordWrap() ? Qt::TextWordWrap : Qt::TextSingleLine);
}

QSize ThemedLabel::marginSize() const {
    const QMargins margins = contentsMargins();
    return QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

QSize ThemedLabel::sizeHint() const {
    const QFontMetricsF metrics(fontRole());
    return QSizeF(std::ceil(metrics.horizontalAdvance(text())), std::ceil(metrics.height())).toSize() +
           marginSize();
}

QSize ThemedLabel::minimumSizeHint() const {
    if (!wordWrap())
        return sizeHint();
    // The width of the longest word.
    const QFontMetrics metrics(fontRole());
    return QSize(metrics.boundingRect(0, 0, 1, unbounded, flags(), text()).width(), sizeHint().height()) +
           QSize(marginSize().width(), 0);
}

int ThemedLabel::heightForWidth(int width) const {
    if (!wordWrap())
        return -1;
    const QFontMetrics metrics(fontRole());
    return metrics.boundingRect(0, 0, width - marginSize().width(), unbounded, flags(), text()).height() +
           marginSize().height();
}

void ThemedLabel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setFont(fontRole());
    painter.setPen(colorRole(palette()));
    painter.drawText(contentsRect(), flags(), text());
}

}  // namespace ferrolt
