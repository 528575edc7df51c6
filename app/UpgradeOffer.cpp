#include "UpgradeOffer.h"

#include "BringToFront.h"
#include "MainQueue.h"
#include "Symbols.h"
#include "Theme.h"

#include <QAction>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

namespace ferrolt {
namespace {

constexpr int offerIconSide = 40;

QString offerText() {
    return QStringLiteral("Quit and start the new version");
}

}  // namespace

UpgradeOffer::UpgradeOffer(std::function<bool()> isReplaced, QWidget &window)
    : isReplaced(std::move(isReplaced)), window(window), menuAction(new QAction(offerText(), this)) {
    assertMainThread();
    menuAction->setVisible(false);
    connect(menuAction, &QAction::triggered, this, &UpgradeOffer::accept);
}

void UpgradeOffer::refresh() {
    assertMainThread();
    menuAction->setVisible(isReplaced());
}

void UpgradeOffer::ask() {
    assertMainThread();
    if (box) {
        bringToFront(*box, {});
        return;
    }
    if (!isReplaced())
        return;
    box = new QMessageBox(&window);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QGuiApplication::applicationDisplayName());
    box->setIconPixmap(
        applicationIcon().pixmap(QSize(offerIconSide, offerIconSide), box->devicePixelRatioF()));
    box->setText(QStringLiteral("A new version was installed"));
    box->setInformativeText(QStringLiteral(
        "The old version still runs. Starting the new one stops both programs and starts them again."));
    if (auto *message = box->findChild<QLabel *>(QStringLiteral("qt_msgbox_label")))
        message->setFont(Theme::headline());
    const QPushButton *const restart = box->addButton(offerText(), QMessageBox::AcceptRole);
    QPushButton *const later = box->addButton(QStringLiteral("Later"), QMessageBox::RejectRole);
    // A key that was meant for another window must not stop the two programs.
    box->setDefaultButton(later);
    box->setEscapeButton(later);
    connect(box, &QMessageBox::finished, this, [this, restart] {
        // A second press of a key reaches the box before it has deleted itself, and finishes it once more.
        box->disconnect(this);
        const bool isAccepted = box->clickedButton() == restart;
        box = nullptr;  // deletes itself
        if (isAccepted)
            accept();
    });
    box->open();
    bringToFront(*box, {});
}

/// The question may have been on screen for days.
void UpgradeOffer::accept() {
    if (isReplaced())
        Q_EMIT accepted();
}

}  // namespace ferrolt
