#include "MainMenu.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QMetaObject>
#include <QWidget>

namespace ferrolt {
namespace {

void sendToFocus(const char *slot) {
    QWidget *focus = QApplication::focusWidget();
    const QByteArray signature = QByteArray(slot).append("()");
    if (focus && focus->metaObject()->indexOfMethod(signature.constData()) >= 0)
        QMetaObject::invokeMethod(focus, slot);
}

}  // namespace

MainMenu::MainMenu(QWidget *window) : QObject(window), window(window) {
    close = add(QStringLiteral("&Close"), QKeySequence(Qt::CTRL | Qt::Key_W));
    quit = add(QStringLiteral("&Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);
    copy = add(QStringLiteral("&Copy"), QKeySequence(QKeySequence::Copy));
    selectAll = add(QStringLiteral("Select &All"), QKeySequence(QKeySequence::SelectAll));
    connect(close, &QAction::triggered, this, &MainMenu::closeRequested);
    connect(quit, &QAction::triggered, this, &MainMenu::quitRequested);
    connect(copy, &QAction::triggered, this, [] { sendToFocus("copy"); });
    connect(selectAll, &QAction::triggered, this, [] { sendToFocus("selectAll"); });
}

QAction *MainMenu::add(const QString &text, const QKeySequence &shortcut) {
    auto *action = new QAction(text, this);
    action->setShortcut(shortcut);
    window->addAction(action);
    return action;
}

void MainMenu::fill(QMenuBar *bar) {
    QMenu *file = bar->addMenu(QStringLiteral("&File"));
    file->addAction(close);
    file->addSeparator();
    file->addAction(quit);
    QMenu *edit = bar->addMenu(QStringLiteral("&Edit"));
    edit->addAction(copy);
    edit->addAction(selectAll);
}

QMenu *MainMenu::compactMenu() {
    auto *menu = new QMenu(window);
    menu->addAction(copy);
    menu->addAction(selectAll);
    menu->addSeparator();
    menu->addAction(close);
    menu->addAction(quit);
    return menu;
}

void MainMenu::setOpenAtLogin(QAction *openAtLogin) {
    for (QObject *place : close->associatedObjects())
        if (auto *menu = qobject_cast<QMenu *>(place))
            menu->insertAction(close, openAtLogin);
}

}  // namespace ferrolt
