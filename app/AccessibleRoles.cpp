#include "AccessibleRoles.h"

#include "Announcement.h"
#include "MenuButton.h"
#include "Sidebar.h"
#include "SidebarEntry.h"
#include "StatusRow.h"

#include <QAccessibleWidget>
#include <QMenu>
#include <QStringList>

namespace ferrolt {
namespace {

class EntryInterface final : public QAccessibleWidget {
  public:
    explicit EntryInterface(SidebarEntry *entry) : QAccessibleWidget(entry, QAccessible::ListItem) {}

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? entry()->text() : QAccessibleWidget::text(kind);
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.selectable = true;
        state.selected = entry()->isChecked();
        return state;
    }

    QStringList actionNames() const override { return {pressAction(), setFocusAction()}; }

    void doAction(const QString &name) override {
        if (name == pressAction())
            entry()->click();
        else
            QAccessibleWidget::doAction(name);
    }

  private:
    SidebarEntry *entry() const { return static_cast<SidebarEntry *>(widget()); }
};

/// In Qt 6.4 the open menu of a button is nowhere in the tree, and the action that opens it does not return
/// before it is closed, so that a screen reader would give up waiting.
class MenuButtonInterface final : public QAccessibleWidget {
  public:
    explicit MenuButtonInterface(MenuButton *button) : QAccessibleWidget(button, QAccessible::ButtonMenu) {}

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = true;
        return state;
    }

    int childCount() const override { return button()->menu() != nullptr ? 1 : 0; }
    QAccessibleInterface *child(int index) const override {
        return index == 0 ? QAccessible::queryAccessibleInterface(button()->menu()) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface *child) const override {
        return child != nullptr && child->object() == button()->menu() ? 0 : -1;
    }

    QStringList actionNames() const override { return {showMenuAction(), setFocusAction()}; }

    void doAction(const QString &name) override {
        if (name == showMenuAction())
            QMetaObject::invokeMethod(button(), &QPushButton::showMenu, Qt::QueuedConnection);
        else
            QAccessibleWidget::doAction(name);
    }

  private:
    MenuButton *button() const { return static_cast<MenuButton *>(widget()); }
};

class AnnouncementInterface final : public QAccessibleWidget {
  public:
    explicit AnnouncementInterface(Announcement *label)
        : QAccessibleWidget(label, QAccessible::Notification) {}

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? static_cast<Announcement *>(widget())->text()
                                         : QAccessibleWidget::text(kind);
    }
};

QAccessibleInterface *interfaceFor(const QString &, QObject *object) {
    if (auto *entry = qobject_cast<SidebarEntry *>(object))
        return new EntryInterface(entry);
    if (auto *list = qobject_cast<SidebarList *>(object))
        return new QAccessibleWidget(list, QAccessible::List);
    if (auto *row = qobject_cast<StatusRow *>(object))
        return new QAccessibleWidget(row, QAccessible::StaticText);
    if (auto *button = qobject_cast<MenuButton *>(object))
        return new MenuButtonInterface(button);
    if (auto *announcement = qobject_cast<Announcement *>(object))
        return new AnnouncementInterface(announcement);
    return nullptr;
}

}  // namespace

void installAccessibleRoles() {
    QAccessible::installFactory(interfaceFor);
}

}  // namespace ferrolt
