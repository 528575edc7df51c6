#include "QtAlertPresenter.h"

#include "MainQueue.h"
#include "Symbols.h"
#include "Theme.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace ferrolt {
namespace {

constexpr int iconSide = 40;
constexpr int maxExplanationWidth = 520;  ///< longer lines are wrapped
constexpr qint64 keysIgnoredMilliseconds = 1000;

struct Look {
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString themeIcon;
    Symbol symbol = Symbol::InfoCircle;
    QColor tint;
};

Look lookOf(AlertStyle style, const QPalette &palette) {
    switch (style) {
        case AlertStyle::Informational:
            return {QMessageBox::Information, QStringLiteral("dialog-information"), Symbol::InfoCircle,
                    Theme::accent(palette)};
        case AlertStyle::Warning:
            return {QMessageBox::Warning, QStringLiteral("dialog-warning"), Symbol::WarningTriangle,
                    Theme::orange(palette)};
        case AlertStyle::Critical:
            return {QMessageBox::Critical, QStringLiteral("dialog-error"), Symbol::ErrorOctagon,
                    Theme::red(palette)};
    }
    return {};
}

/// Uses the icon theme's icon if there is one, else our symbol.
void setIcon(QMessageBox &box, AlertStyle style) {
    const Look look = lookOf(style, box.palette());
    box.setIcon(look.icon);
    if (!QIcon::hasThemeIcon(look.themeIcon))
        box.setIconPixmap(
            symbolPixmap(look.symbol, QSize(iconSide, iconSide), look.tint, box.devicePixelRatioF()));
}

/// The message is bold. The explanation keeps its own line breaks.
void setTexts(QMessageBox &box, const Alert &alert) {
    box.setText(alert.messageText);
    box.setInformativeText(alert.informativeText);
    // An error text of the system may look like markup.
    for (QLabel *label : box.findChildren<QLabel *>())
        label->setTextFormat(Qt::PlainText);
    if (auto *message = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_label")))
        message->setFont(Theme::headline());
    if (auto *explanation = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel"))) {
        const int wanted =
            explanation->fontMetrics().boundingRect(QRect(), Qt::AlignLeft, alert.informativeText).width();
        explanation->setMinimumWidth(std::min(wanted, maxExplanationWidth));
        // A label that may wrap reserves height for wrapped lines even when none is.
        explanation->setWordWrap(wanted > maxExplanationWidth);
    }
}

}  // namespace

QtAlertPresenter::~QtAlertPresenter() {
    // While the box is destroyed its events still reach the filter, which must not use it then.
    QMessageBox *const last = box;
    box = nullptr;
    delete last;
}

void QtAlertPresenter::present(const Alert &alert, std::function<void()> dismissed) {
    assertMainThread();
    pending.push_back({alert, std::move(dismissed)});
    if (!box)
        showNext();
}

void QtAlertPresenter::showNext() {
    if (box || pending.empty())
        return;
    const Alert &alert = pending.front().alert;
    box = new QMessageBox;
    const bool takesKeyboard =
        alert.style != AlertStyle::Warning || QGuiApplication::focusWindow() != nullptr;
    box->setAttribute(Qt::WA_ShowWithoutActivating, !takesKeyboard);
    box->setAttribute(Qt::WA_DeleteOnClose);
    attach();
    // On X11 Qt 6.4 activates every modal window, WA_ShowWithoutActivating or not. A warning becomes modal
    // once another window of the program is activated.
    box->setWindowModality(takesKeyboard ? modality() : Qt::NonModal);
    box->setWindowTitle(QGuiApplication::applicationDisplayName());
    box->setWindowIcon(applicationIcon());
    setIcon(*box, alert.style);
    setTexts(*box, alert);
    QPushButton *button = box->addButton(
        QString(alert.button).replace(QLatin1Char('&'), QStringLiteral("&&")), QMessageBox::AcceptRole);
    box->setDefaultButton(button);
    box->setEscapeButton(button);
    connect(box, &QMessageBox::finished, this, &QtAlertPresenter::answered);
    box->show();
    sinceShown.start();
    box->raise();
    if (takesKeyboard)
        box->activateWindow();
    QApplication::alert(box);
    // Some task bars list only the main window.
    if (mainWindow && mainWindow->isVisible())
        QApplication::alert(mainWindow);
    box->installEventFilter(this);
    button->installEventFilter(this);
    connect(box->windowHandle(), &QWindow::screenChanged, this, &QtAlertPresenter::adapt);
}

void QtAlertPresenter::setMainWindow(QWidget *window) {
    Q_ASSERT(window != nullptr && mainWindow == nullptr);
    mainWindow = window;
    window->installEventFilter(this);
    connect(qApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow *focused) {
        if (box && mainWindow && focused && focused == mainWindow->windowHandle() && !box->isModal())
            appearAgain();
    });
}

void QtAlertPresenter::attach() {
    box->winId();  // creates the window handle
    const bool isMainWindowShown = mainWindow && mainWindow->isVisible();
    box->windowHandle()->setTransientParent(isMainWindowShown ? mainWindow->windowHandle() : nullptr);
}

Qt::WindowModality QtAlertPresenter::modality() const {
    return box->windowHandle()->transientParent() ? Qt::WindowModal : Qt::ApplicationModal;
}

void QtAlertPresenter::appearAgain() {
    if (!box)
        return;
    box->hide();
    attach();
    box->setWindowModality(modality());
    box->setAttribute(Qt::WA_ShowWithoutActivating, false);
    box->show();
    sinceShown.start();  // the keys that were meant for the window come to the box from now on
    box->raise();
    box->activateWindow();
}

/// Follows the main window and, while an alert is shown (which may be for days), the desktop's look.
bool QtAlertPresenter::eventFilter(QObject *watched, QEvent *event) {
    const QEvent::Type type = event->type();
    if (watched == mainWindow) {
        // Queued: the window is not on screen yet, or still is.
        if ((type == QEvent::Show || type == QEvent::Hide) && !event->spontaneous() && box)
            QMetaObject::invokeMethod(this, &QtAlertPresenter::appearAgain, Qt::QueuedConnection);
        return QObject::eventFilter(watched, event);
    }
    if (box && (type == QEvent::KeyPress || type == QEvent::KeyRelease))
        return pending.front().alert.style != AlertStyle::Informational &&
               !sinceShown.hasExpired(keysIgnoredMilliseconds);
    // The second click of a double click belongs to the alert before, which was in the same place.
    if (box && (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick))
        return sinceAnswered.isValid() && !sinceAnswered.hasExpired(QApplication::doubleClickInterval());
    // Queued: the box handles these events itself first.
    if (watched == box && (type == QEvent::PaletteChange || type == QEvent::FontChange ||
                           type == QEvent::ApplicationFontChange || type == QEvent::StyleChange))
        QMetaObject::invokeMethod(this, &QtAlertPresenter::adapt, Qt::QueuedConnection);
    return QObject::eventFilter(watched, event);
}

void QtAlertPresenter::adapt() {
    if (!box)
        return;
    setIcon(*box, pending.front().alert.style);
    setTexts(*box, pending.front().alert);
}

void QtAlertPresenter::answered() {
    sinceAnswered.start();
    // `dismissed` may present the next alert, end the program, or both.
    const Pending answered = std::exchange(pending.front(), {});
    pending.pop_front();
    box->disconnect(this);
    box->deleteLater();
    box = nullptr;
    // Queued: the next alert is not shown if `dismissed` ends the event loop.
    QMetaObject::invokeMethod(this, &QtAlertPresenter::showNext, Qt::QueuedConnection);
    if (answered.dismissed)
        answered.dismissed();
}

}  // namespace ferrolt
