#include "TextField.h"

#include "Drawing.h"
#include "FocusRing.h"
#include "SingleLineText.h"
#include "Theme.h"

#include <QEvent>
#include <QPainter>
#include <QStyleOptionFrame>
#include <QToolTip>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int leastHeight = 28;
constexpr int roomAroundText = 12;
constexpr int textInset = 7;
constexpr qreal cornerRadius = 6;

}  // namespace

TextField::TextField(const QString &placeholder, QWidget *parent) : QLineEdit(parent) {
    setPlaceholderText(placeholder);
    setAccessibleName(placeholder);
    setFrame(false);
    setTextMargins(textInset, 0, textInset, 0);
    setInputMethodHints(Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    setMaxLength(longestText);
    setValidator(new SingleLineText(this));
    connect(this, &QLineEdit::inputRejected, this, &TextField::tellThatTextWasCut);
}

void TextField::tellThatTextWasCut() {
    QToolTip::showText(mapToGlobal(rect().bottomLeft()),
                       QStringLiteral("The text is too long. Its end was left out."), this);
}

QSize TextField::sizeHint() const {
    return QSize(QLineEdit::sizeHint().width(),
                 std::max(leastHeight, fontMetrics().height() + roomAroundText));
}

QSize TextField::minimumSizeHint() const {
    return QSize(QLineEdit::minimumSizeHint().width(), sizeHint().height());
}

void TextField::initStyleOption(QStyleOptionFrame *option) const {
    QLineEdit::initStyleOption(option);
    // The style fills the whole rectangle before it draws the text; the rounded surface is below it.
    option->palette.setBrush(QPalette::Base, Qt::transparent);
    option->lineWidth = 0;
    option->midLineWidth = 0;
}

void TextField::paintEvent(QPaintEvent *event) {
    {
        QPainter painter(this);
        Drawing::fillRounded(painter, rect(), cornerRadius, Theme::textBackground(palette()));
        if (hasFocus())
            FocusRing::draw(painter, rect(), cornerRadius, palette());
        else
            Drawing::strokeRounded(painter, rect(), cornerRadius, Theme::separator(palette()));
    }
    QLineEdit::paintEvent(event);
}

void TextField::changeEvent(QEvent *event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    update();
}

}  // namespace ferrolt
