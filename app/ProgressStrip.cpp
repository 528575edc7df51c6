#include "ProgressStrip.h"

#include "Drawing.h"
#include "InstallProgress.h"
#include "Theme.h"

#include <QEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QStyle>
#include <QTimerEvent>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ferrolt {
namespace {

constexpr int inset = 10;  // that of the status rows above it
constexpr int barHeight = 4;
constexpr int gap = 5;
constexpr int steps = 1000;

constexpr double wanderingShare = 0.3;
constexpr qint64 wanderingMilliseconds = 1600;
constexpr int frameMilliseconds = 33;

}  // namespace

ProgressStrip::ProgressStrip(std::shared_ptr<InstallProgress> progress, QWidget *parent)
    : QProgressBar(parent), progress(std::move(progress)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this->progress.get(), &InstallProgress::changed, this, &ProgressStrip::refresh);
    refresh();
}

QString ProgressStrip::text() const {
    // A version may be any text; a line of it is enough.
    return progress->text().simplified();
}

void ProgressStrip::refresh() {
    const InstallProgress::Status &facts = progress->status();
    if (facts.total > 0) {
        setRange(0, steps);
        const double share = static_cast<double>(facts.done) / static_cast<double>(facts.total);
        setValue(static_cast<int>(std::clamp(share, 0.0, 1.0) * steps));
    } else {
        setRange(0, 0);
    }
    if (const QString now = text(); accessibleName() != now)
        setAccessibleName(now);
    breakText();
    wanderIfNeeded();
    setHidden(progress->isIdle());
    update();
}

/// A text that is too long for the column is broken behind its first part, and stays so: it would jump back
/// and forth as its digits change.
void ProgressStrip::breakText() {
    const QFontMetrics metrics(Theme::caption());
    const int room = width() - 2 * inset;
    const QString whole = text();
    const qsizetype colon = whole.lastIndexOf(QLatin1String(": "));
    const bool wasBroken = lines.size() == 2;
    if (colon > 0 && (wasBroken || metrics.horizontalAdvance(whole) > room))
        lines = {whole.left(colon + 1), whole.mid(colon + 2)};
    else
        lines = {whole};
    if (wasBroken != (lines.size() == 2))
        updateGeometry();
}

QSize ProgressStrip::sizeHint() const {
    const int textHeight = static_cast<int>(lines.size()) * QFontMetrics(Theme::caption()).height();
    return QSize(2 * inset, 2 * gap + textHeight + barHeight + gap);
}

QSize ProgressStrip::minimumSizeHint() const {
    return sizeHint();
}

QRectF ProgressStrip::filledPart(const QRectF &track) const {
    if (!isWandering())
        return QRectF(track.left(), track.top(), track.width() * value() / steps, track.height());
    const double length = track.width() * wanderingShare;
    const double turn =
        static_cast<double>(wandering.isValid() ? wandering.elapsed() % wanderingMilliseconds : 0) /
        static_cast<double>(wanderingMilliseconds);
    // From out of sight on the one side to out of sight on the other.
    const double left = track.left() - length + turn * (track.width() + length);
    return QRectF(left, track.top(), length, track.height()).intersected(track);
}

void ProgressStrip::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(Theme::caption());
    painter.setPen(Theme::secondaryText(palette()));
    const QFontMetrics metrics = painter.fontMetrics();
    int top = gap;
    for (const QString &line : std::as_const(lines)) {
        const QRect place(inset, top, width() - 2 * inset, metrics.height());
        painter.drawText(place, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
                         metrics.elidedText(line, Qt::ElideMiddle, place.width()));
        top += metrics.height();
    }
    const QRectF track(inset, top + gap, width() - 2 * inset, barHeight);
    Drawing::fillRounded(painter, track, barHeight / 2.0, Theme::separator(palette()));
    QRectF filled = filledPart(track);
    if (layoutDirection() == Qt::RightToLeft)
        filled.moveRight(track.left() + track.right() - filled.left());
    if (filled.width() > 0) {
        painter.setClipRect(filled);
        Drawing::fillRounded(painter, track, barHeight / 2.0, Theme::accent(palette()));
    }
}

void ProgressStrip::wanderIfNeeded() {
    const bool isMoving = isWandering() && isVisible() && !progress->isIdle();
    if (!isMoving) {
        frames.stop();
    } else if (!frames.isActive() &&
               style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0) {
        wandering.start();
        frames.start(frameMilliseconds, Qt::CoarseTimer, this);
    }
}

void ProgressStrip::resizeEvent(QResizeEvent *event) {
    QProgressBar::resizeEvent(event);
    if (event->size().width() == event->oldSize().width())
        return;
    lines.clear();  // what was broken may fit now
    breakText();
    updateGeometry();
}

void ProgressStrip::showEvent(QShowEvent *event) {
    QProgressBar::showEvent(event);
    wanderIfNeeded();
}

void ProgressStrip::hideEvent(QHideEvent *event) {
    QProgressBar::hideEvent(event);
    frames.stop();
    if (progress->isIdle())
        lines.clear();
}

void ProgressStrip::timerEvent(QTimerEvent *event) {
    if (event->timerId() == frames.timerId())
        update();
    else
        QProgressBar::timerEvent(event);
}

void ProgressStrip::changeEvent(QEvent *event) {
    QProgressBar::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        lines.clear();
        breakText();
        updateGeometry();
    }
    update();
}

}  // namespace ferrolt
