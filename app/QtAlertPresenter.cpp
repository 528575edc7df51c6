#include "QtAlertPresenter.h"

#include "Symbols.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

namespace ferrolt {
namespace {

QMessageBox::Icon iconOf(AlertStyle style) {
    switch (style) {
        case AlertStyle::Informational:
            return QMessageBox::Information;
        case AlertStyle::Warning:
            return QMessageBox::Warning;
        case AlertStyle::Critical:
            return QMessageBox::Critical;
    }
    return QMessageBox::NoIcon;
}

}  // namespace

QtAlertPresenter::~QtAlertPresenter() {
    delete box;
}

void QtAlertPresenter::present(const Alert &alert, std::function<void()> dismissed) {
    pending.push_back({alert, std::move(dismissed)});
    if (!box)
        showNext();
}

void QtAlertPresenter::showNext() {
    if (box || pending.empty())
        return;
    const Alert &alert = pending.front().alert;
    box = new QMessageBox;
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::ApplicationModal);
    box->setWindowTitle(QGuiApplication::applicationDisplayName());
    box->setWindowIcon(applicationIcon());
    box->setIcon(iconOf(alert.style));
    box->setTextFormat(Qt::PlainText);
    box->setText(alert.messageText);
    box->setInformativeText(alert.informativeText);
    // The texts may carry what the system said, which may look like markup.
    for (QLabel *label : box->findChildren<QLabel *>())
        label->setTextFormat(Qt::PlainText);
    QPushButton *button = box->addButton(
        QString(alert.button).replace(QLatin1Char('&'), QStringLiteral("&&")), QMessageBox::AcceptRole);
    box->setDefaultButton(button);
    box->setEscapeButton(button);
    connect(box, &QMessageBox::finished, this, &QtAlertPresenter::answered);
    box->show();
    box->raise();
    box->activateWindow();
    QApplication::alert(box);
}

void QtAlertPresenter::answered() {
    // The answer may bring the next alert, or end the program, or both.
    const Pending answered = std::exchange(pending.front(), {});
    pending.pop_front();
    box->disconnect(this);
    box->deleteLater();
    box = nullptr;
    // The next one comes from the event loop: not at all when the answer ended that.
    QMetaObject::invokeMethod(this, &QtAlertPresenter::showNext, Qt::QueuedConnection);
    if (answered.dismissed)
        answered.dismissed();
}

}  // namespace ferrolt
