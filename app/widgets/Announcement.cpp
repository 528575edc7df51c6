#include "Announcement.h"

#include <QAccessible>

namespace ferrolt {

void Announcement::speak() {
    if (!QAccessible::isActive() || !isVisible() || text().isEmpty())
        return;
    // Alert is the event for announcements. Where it does not reach the screen reader, ObjectShow makes it
    // read this as a notification.
    for (const QAccessible::Event kind : {QAccessible::Alert, QAccessible::ObjectShow}) {
        QAccessibleEvent event(this, kind);
        QAccessible::updateAccessibility(&event);
    }
}

}  // namespace ferrolt
