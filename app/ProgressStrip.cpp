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

constexpr int textInset = 10;  // as the status rows above
constexpr int barHeight = 4;
constexpr int gap = 5;
constexpr int steps = 1000;

constexpr double movingShare = 0.3;
constexpr qint64 cycleMilliseconds = 1600;
constexpr int frameMilliseconds = 33;

}  // namespace

ProgressStrip::ProgressStrip(std::shared_ptr<InstallProgress> progress, QWidget *parent)
    : QProgressBar(parent), progress(std::move(progress)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this->progress.get(), &InstallProgress::changed, this, &ProgressStrip::refresh);
    refresh();
}

QString ProgressStrip::text() const {
    // The version comes from the server and may have line breaks.
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
    updateLines();
    animateIfNeeded();
    setHidden(progress->isIdle());
    update();
}

/// Breaks a text that is too long for the column after its colon. It stays broken while it is shown: as its
/// digits change, it would otherwise change between one line and two.
void ProgressStrip::updateLines() {
    const QFontMetrics metrics(Theme::caption());
    const int room = width() - 2 * textInset;
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
    return QSize(2 * textInset, 2 * gap + textHeight + barHeight + gap);
}

QSize ProgressStrip::minimumSizeHint() const {
    return sizeHint();
}

QRectF ProgressStrip::filledPart(const QRectF &track) const {
    if (!isIndeterminate())
        return QRectF(track.left(), track.top(), track.width() * value() / steps, track.height());
    const double length = track.width() * movingShare;
    if (!frames.isActive())
        return QRectF(track.center().x() - length / 2, track.top(), length, track.height());
    const double turn = static_cast<double>(sinceAnimationStart.elapsed() % cycleMilliseconds) /
                        static_cast<double>(cycleMilliseconds);
    // From beyond one edge to beyond the other.
    const double left = track.left() - length + turn * (track.width() + length);
    return QRectF(left, track.top(), length, track.height()).intersected(track);
}

void ProgressStrip::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(Theme::caption());
    painter.setPen(Theme::secondaryText(palette()));
    const QFontMetrics metrics = painter.fontMetrics();
    // The text is English: from right to left, "1 of 2" would become "of 2 1".
    constexpr int flags =
        Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextDontClip | Qt::TextForceLeftToRight;
    int top = gap;
    for (const QString &line : std::as_const(lines)) {
        const QString shown = metrics.elidedText(line, Qt::ElideMiddle, width() - 2 * textInset);
        const QRect place(textInset, top, metrics.horizontalAdvance(shown), metrics.height());
        painter.drawText(QStyle::visualRect(layoutDirection(), rect(), place), flags, shown);
        top += metrics.height();
    }
    const QRectF track(textInset, top + gap, width() - 2 * textInset, barHeight);
    Drawing::fillRounded(painter, track, barHeight / 2.0, Theme::separator(palette()));
    QRectF filled = filledPart(track);
    if (layoutDirection() == Qt::RightToLeft)
        filled.moveRight(track.left() + track.right() - filled.left());
    if (filled.width() > 0) {
        painter.setClipRect(filled);
        Drawing::fillRounded(painter, track, barHeight / 2.0, Theme::accent(palette()));
    }
}

void ProgressStrip::animateIfNeeded() {
    const bool isMoving = isIndeterminate() && isVisible() && !progress->isIdle() &&
                          style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0;
    if (!isMoving) {
        frames.stop();
    } else if (!frames.isActive()) {
        sinceAnimationStart.start();
        frames.start(frameMilliseconds, Qt::CoarseTimer, this);
    }
}

void ProgressStrip::resizeEvent(QResizeEvent *event) {
    QProgressBar::resizeEvent(event);
    if (event->size().width() == event->oldSize().width())
        return;
    lines.clear();  // it may fit in one line now
    updateLines();
    updateGeometry();
}

void ProgressStrip::showEvent(QShowEvent *event) {
    QProgressBar::showEvent(event);
    animateIfNeeded();
}

void ProgressStrip::hideEvent(QHideEvent *event) {
    QProgressBar::hideEvent(event);
    frames.stop();
    if (progress->isIdle())
        lines.clear();
}

void ProgressStrip::timerEvent(QTimerEvent *event) {
    if (event->timerId() != frames.timerId()) {
        QProgressBar::timerEvent(event);
        return;
    }
    animateIfNeeded();  // the user's wish for motion may have changed
    update();
}

void ProgressStrip::changeEvent(QEvent *event) {
    QProgressBar::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        lines.clear();
        updateLines();
        updateGeometry();
    }
    update();
}

}  // namespace ferrolt
