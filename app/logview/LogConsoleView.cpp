#include "LogConsoleView.h"

#include "Announcement.h"
#include "Drawing.h"
#include "FindBar.h"
#include "LogSearch.h"
#include "LogTextArea.h"
#include "MainQueue.h"
#include "NewestEntryButton.h"
#include "StatusBadge.h"
#include "Symbols.h"
#include "Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace ferrolt {
namespace {

using namespace std::chrono_literals;

constexpr QSize minSize(300, 150);
constexpr int headerPaddingAlong = 10;
constexpr auto confirmationTime = 1200ms;
/// The width of the border, which lies inside the panel's bounds, and of the line between header and log.
constexpr int lineWidth = 1;

}  // namespace

LogConsoleView::LogConsoleView(const QString &title, const LogBuffer &lines, const QString &bottomId,
                               Clipboard &clipboard, TimeSource &time, QWidget *parent)
    : QWidget(parent),
      lines(lines),
      clipboard(clipboard),
      time(time),
      header(new QWidget(this)),
      titleLabel(new QLabel(title, header)),
      copyButton(new QPushButton(header)),
      badge(new StatusBadge(header)),
      copied(new Announcement(QString(), Theme::body, Theme::primaryText, header)),
      divider(new QWidget(this)),
      area(new LogTextArea(lines, bottomId, clipboard, this)),
      stack(new QVBoxLayout(this)) {
    assertMainThread();
    setMinimumSize(minSize);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    titleLabel->setTextFormat(Qt::PlainText);
    // A title that is too long is cut, so that it does not push the badge out of the panel.
    titleLabel->setMinimumWidth(1);
    copyButton->setFlat(true);
    copyButton->setAutoDefault(true);  // Enter presses it, as Space does
    copyButton->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    copyButton->setToolTip(tr("Copy this log to the clipboard"));
    copyButton->setAccessibleName(copyButton->toolTip());
    copied->resize(0, 0);
    setDidCopy(false);
    area->setAccessibleName(title);

    auto *const row = new QHBoxLayout(header);
    row->setContentsMargins(Theme::padding, headerPaddingAlong, Theme::padding, headerPaddingAlong);
    row->setSpacing(Theme::spacing);
    row->addWidget(titleLabel);
    row->addStretch();
    row->addWidget(copyButton);
    row->addWidget(badge);

    divider->setFixedHeight(lineWidth);

    stack->setContentsMargins(lineWidth, lineWidth, lineWidth, lineWidth);
    stack->setSpacing(0);
    stack->addWidget(header);
    stack->addWidget(divider);
    stack->addWidget(area, 1);

    connect(copyButton, &QAbstractButton::clicked, this, &LogConsoleView::copyLog);
    connect(area, &LogTextArea::refreshed, this, &LogConsoleView::refreshHeader);
    new NewestEntryButton(*area, this);
    titleLabel->setFont(Theme::headline());
    refreshHeader();
}

LogSearch &LogConsoleView::search() {
    if (logSearch == nullptr) {
        auto *const bar = new FindBar(this);
        stack->insertWidget(stack->indexOf(area), bar);
        // Above the text for screen readers and the Tab key, too, as if it had been made before it.
        bar->stackUnder(area);
        QWidget *before = copyButton;
        for (QWidget *const each : bar->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
            if (each->focusPolicy() != Qt::NoFocus) {
                setTabOrder(before, each);
                before = each;
            }
        }
        logSearch = new LogSearch(*area, *bar, clipboard, this);
    }
    return *logSearch;
}

void LogConsoleView::find() {
    search().open();
}

void LogConsoleView::findNext() {
    search().findNext();
}

void LogConsoleView::findPrevious() {
    search().findPrevious();
}

void LogConsoleView::keyPressEvent(QKeyEvent *event) {
    if (logSearch != nullptr && logSearch->isOpen() && event->matches(QKeySequence::Cancel))
        logSearch->close();
    else
        QWidget::keyPressEvent(event);
}

QString LogConsoleView::title() const {
    return titleLabel->text();
}

void LogConsoleView::setRunning(bool isRunning) {
    badge->setRunning(isRunning);
}

void LogConsoleView::logChanged() {
    area->logChanged();
}

void LogConsoleView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    refreshHeader();
}

bool LogConsoleView::event(QEvent *event) {
    if (event->type() == QEvent::FontChange)
        titleLabel->setFont(Theme::headline());
    return QWidget::event(event);
}

void LogConsoleView::refreshHeader() {
    copyButton->setEnabled(!lines.isEmpty());
}

void LogConsoleView::copyLog() {
    clipboard.clearContents();
    // Joined with nothing between them: the entries carry their own line breaks.
    clipboard.setText(lines.snapshot());
    setDidCopy(true);
    copied->speak();
    // Not cancelled by another press: the reset of the first press turns the icon back.
    time.callAfter(confirmationTime, [view = QPointer(this)] {
        if (view)
            view->setDidCopy(false);
    });
}

void LogConsoleView::setDidCopy(bool didCopy) {
    _didCopy = didCopy;
    copied->setText(_didCopy ? tr("Log copied") : QString());
    copyButton->setIcon(_didCopy ? symbolIcon(Symbol::Checkmark, Theme::green)
                                 : symbolIcon(Symbol::DocOnDoc, Theme::accent));
}

void LogConsoleView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const QRectF whole(rect());
    const qreal top = header->geometry().bottom() + 1;
    painter.fillRect(QRectF(whole.topLeft(), QPointF(whole.right(), top)),
                     Theme::windowBackground(palette()));
    painter.fillRect(QRectF(QPointF(whole.left(), top), whole.bottomRight()),
                     Theme::textBackground(palette()));
    const QColor separator = Theme::separator(palette());
    const QRectF across = Drawing::snapped(painter, QRectF(whole.left(), top, whole.width(), lineWidth));
    painter.fillRect(QRectF(across.topLeft(), QSizeF(across.width(), Drawing::borderWidth(painter))),
                     separator);
    Drawing::strokeRectangle(painter, whole, separator);
}

}  // namespace ferrolt
