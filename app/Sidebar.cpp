#include "Sidebar.h"

#include "AppVars.h"
#include "Drawing.h"
#include "MenuButton.h"
#include "SidebarEntry.h"
#include "StatusRow.h"
#include "Theme.h"
#include "ThemedLabel.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>
#include <QVBoxLayout>

namespace ferrolt {
namespace {

constexpr int margin = 10;

QFont sectionFont() {
    QFont font = Theme::subheadline();
    font.setBold(true);
    return font;
}

}  // namespace

Sidebar::Sidebar(QWidget *parent) : QWidget(parent) {
    setMinimumWidth(minimumColumnWidth);
    setMaximumWidth(maximumColumnWidth);

    auto *list = new SidebarList(this);
    list->setAccessibleName(QStringLiteral("Sidebar"));
    home = new SidebarEntry(Symbol::House, QStringLiteral("Home"), list);
    settings = new SidebarEntry(Symbol::Gear, QStringLiteral("Settings"), list);
    auto *entries = new QVBoxLayout(list);
    entries->setContentsMargins(0, 0, 0, 0);
    entries->setSpacing(0);
    entries->addWidget(home);
    entries->addWidget(settings);
    connect(home, &SidebarEntry::clicked, this, [this] { Q_EMIT tabChosen(AppVars::homeTab); });
    connect(settings, &SidebarEntry::clicked, this, [this] { Q_EMIT tabChosen(AppVars::settingsTab); });

    auto *header = new ThemedLabel(QStringLiteral("Process Status"), sectionFont, Theme::secondaryText, this);
    header->setWordWrap(true);
    header->setContentsMargins(margin, 18, margin, 4);
    lumoraCore = new StatusRow(QStringLiteral("Lumora Core"), this);
    qorClient = new StatusRow(QStringLiteral("Qor Client"), this);
    permanentStop = new ThemedLabel(
        QStringLiteral("The Ferrolt Miner Launcher is stopped. Restart it to run both processes again."),
        Theme::subheadline, Theme::primaryText, this);
    permanentStop->setWordWrap(true);
    permanentStop->setContentsMargins(margin, Theme::spacing, margin, Theme::spacing);
    permanentStop->hide();
    button = new MenuButton(this);
    button->hide();

    column = new QVBoxLayout(this);
    // The last pixel of the column is the separator.
    column->setContentsMargins(margin, margin, margin + 1, margin);
    column->setSpacing(0);
    column->addWidget(list);
    column->addWidget(header);
    column->addWidget(lumoraCore);
    column->addWidget(qorClient);
    column->addWidget(permanentStop);
    column->addStretch();
    column->addWidget(button);
}

void Sidebar::showSelectedTab(const std::optional<QString> &tab) {
    if (tab == AppVars::homeTab)
        home->setChecked(true);
    else if (tab == AppVars::settingsTab)
        settings->setChecked(true);
}

void Sidebar::showLumoraCore(bool isRunning) {
    lumoraCore->setRunning(isRunning);
}

void Sidebar::showQorClient(bool isRunning) {
    qorClient->setRunning(isRunning);
}

void Sidebar::showPermanentStop(bool isStopped) {
    permanentStop->setVisible(isStopped);
}

void Sidebar::setMenu(QMenu *menu) {
    button->setMenu(menu);
    button->setVisible(menu != nullptr);
}

void Sidebar::setFoot(QWidget *foot) {
    column->insertWidget(column->indexOf(button), foot);
}

void Sidebar::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.fillRect(rect(), Theme::sidebarBackground(palette()));
    const qreal line = Drawing::borderWidth(painter);
    const qreal left = layoutDirection() == Qt::RightToLeft ? 0 : width() - line;
    painter.fillRect(Drawing::snapped(painter, QRectF(left, 0, line, height())), Theme::separator(palette()));
}

void Sidebar::contextMenuEvent(QContextMenuEvent *event) {
    if (button->menu())
        button->menu()->popup(event->globalPos());
}

void Sidebar::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    update();
}

}  // namespace ferrolt
