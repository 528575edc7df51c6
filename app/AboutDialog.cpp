#include "AboutDialog.h"

#include "MainQueue.h"
#include "Symbols.h"
#include "Theme.h"
#include "ThemedLabel.h"

#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace ferrolt {
namespace {

constexpr int iconSide = 64;
constexpr int maxValueLetters = 70;  ///< a longer value scrolls
constexpr int valuePadding = 24;

}  // namespace

AboutDialog::AboutDialog(std::shared_ptr<Clipboard> clipboard, QWidget *parent)
    : QDialog(parent), clipboard(std::move(clipboard)), details(aboutDetails()) {
    assertMainThread();
    const QString name = QGuiApplication::applicationDisplayName();
    setWindowTitle(tr("About %1").arg(name));
    setWindowIcon(applicationIcon());
    setAttribute(Qt::WA_DeleteOnClose);

    auto *const icon = new QLabel(this);
    icon->setPixmap(applicationIcon().pixmap(QSize(iconSide, iconSide), devicePixelRatioF()));
    auto *const title = new QLabel(name, this);
    title->setFont(Theme::headline());
    title->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    title->setFocusPolicy(Qt::StrongFocus);
    auto *const head = new QHBoxLayout;
    head->setSpacing(Theme::padding);
    head->addWidget(icon);
    head->addWidget(title, 1);

    auto *const grid = new QGridLayout;
    grid->setHorizontalSpacing(Theme::spacing);
    grid->setVerticalSpacing(0);
    for (const AboutDetail &detail : details)
        addRow(*grid, detail);

    copyButton = new QPushButton(tr("Copy &Details"), this);
    copyButton->setAutoDefault(false);
    auto *const close = new QPushButton(tr("&Close"), this);
    close->setDefault(true);
    auto *const buttons = new QHBoxLayout;
    buttons->setSpacing(Theme::spacing);
    buttons->addStretch();
    buttons->addWidget(copyButton);
    buttons->addWidget(close);
    connect(copyButton, &QPushButton::clicked, this, &AboutDialog::copyDetails);
    connect(close, &QPushButton::clicked, this, &QDialog::close);

    auto *const whole = new QVBoxLayout(this);
    whole->setContentsMargins(Theme::padding, Theme::padding, Theme::padding, Theme::padding);
    whole->setSpacing(Theme::padding);
    whole->addLayout(head);
    whole->addLayout(grid);
    whole->addLayout(buttons);
    whole->setSizeConstraint(QLayout::SetFixedSize);
    close->setFocus();
}

void AboutDialog::addRow(QGridLayout &grid, const AboutDetail &detail) {
    auto *const label = new ThemedLabel(detail.label, Theme::body, Theme::secondaryText, this);
    auto *const value = new QLineEdit(detail.value, this);
    value->setReadOnly(true);
    value->setFrame(false);
    value->setAccessibleName(detail.label);
    value->setCursorPosition(0);
    QPalette clear = value->palette();
    clear.setBrush(QPalette::Base, Qt::transparent);
    value->setPalette(clear);
    const QFontMetrics metrics = value->fontMetrics();
    value->setMinimumWidth(
        std::min(metrics.horizontalAdvance(detail.value), maxValueLetters * metrics.averageCharWidth()) +
        valuePadding);
    label->setBuddy(value);
    const int row = grid.rowCount();
    grid.addWidget(label, row, 0);
    grid.addWidget(value, row, 1);
}

void AboutDialog::copyDetails() {
    clipboard->clearContents();
    clipboard->setText({plainText(details).toUtf8()});
    copyButton->setIcon(symbolIcon(Symbol::Checkmark, Theme::green));
}

}  // namespace ferrolt
