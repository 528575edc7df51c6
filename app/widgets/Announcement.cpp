#include "Announcement.h"

#include <QAccessible>

namespace ferrolt {

void Announcement::speak() {
    if (!QAccessible::isActive() || !isVisible() || text().isEmpty())
        return;
    // The one is an announcement by its name. Where it is not passed on, a notification is read as it
    // appears.
    for (const QAccessible::Event kind : {QAccessible::Alert, QAccessible::ObjectShow}) {
        QAccessibleEvent event(this, kind);
        QAccessible::updateAccessibility(&event);
    }
}

}  // namespace ferrolt
