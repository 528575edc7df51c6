#pragma once

#include <QAccessible>
#include <QList>
#include <QPointer>
#include <QString>

namespace ferrolt {

/// What a screen reader would have been told, from when this is made until it goes. One at a time. Nothing
/// is told on a platform without screen readers, where QAccessible::isActive() is false.
class ToldToScreenReaders {
  public:
    struct Event {
        QAccessible::Event kind;
        QPointer<QObject> object;
        QString text = {};  ///< that came or went
        int place = -1;
    };

    ToldToScreenReaders() {
        events().clear();
        before = QAccessible::installUpdateHandler(listen);
    }
    ~ToldToScreenReaders() { QAccessible::installUpdateHandler(before); }
    ToldToScreenReaders(const ToldToScreenReaders &) = delete;
    ToldToScreenReaders &operator=(const ToldToScreenReaders &) = delete;

    static QList<Event> &events() {
        static QList<Event> all;
        return all;
    }
    static QList<Event> events(const QObject *object, QAccessible::Event kind) {
        QList<Event> some;
        for (const Event &event : events()) {
            if (event.object == object && event.kind == kind)
                some.append(event);
        }
        return some;
    }

  private:
    static void listen(QAccessibleEvent *event) {
        Event seen{.kind = event->type(), .object = event->object()};
        if (seen.kind == QAccessible::TextInserted) {
            seen.text = static_cast<QAccessibleTextInsertEvent *>(event)->textInserted();
            seen.place = static_cast<QAccessibleTextInsertEvent *>(event)->changePosition();
        } else if (seen.kind == QAccessible::TextRemoved) {
            seen.text = static_cast<QAccessibleTextRemoveEvent *>(event)->textRemoved();
            seen.place = static_cast<QAccessibleTextRemoveEvent *>(event)->changePosition();
        } else if (seen.kind == QAccessible::TextCaretMoved) {
            seen.place = static_cast<QAccessibleTextCursorEvent *>(event)->cursorPosition();
        }
        events().append(seen);
    }

    QAccessible::UpdateHandler before = nullptr;
};

}  // namespace ferrolt
