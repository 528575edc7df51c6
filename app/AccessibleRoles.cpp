#include "AccessibleRoles.h"

#include "Announcement.h"
#include "Sidebar.h"
#include "SidebarEntry.h"
#include "StatusRow.h"

#include <QAccessibleWidget>
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
    if (auto *announcement = qobject_cast<Announcement *>(object))
        return new AnnouncementInterface(announcement);
    return nullptr;
}

}  // namespace

void installAccessibleRoles() {
    QAccessible::installFactory(interfaceFor);
}

}  // namespace ferrolt
