#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVariantList>

namespace ferrolt {

/// A desktop's notification service (org.freedesktop.Notifications) on a session bus: records what it is
/// asked to show, and presses buttons.
class NotificationDesk : public QDBusVirtualObject {
  public:
    enum class Manner { Sound, NeverAnswers, Refuses, AnswersWithText };

    struct Shown {
        QString title;
        QString body;
        QStringList actions;  ///< each action's key, followed by its text
    };

    explicit NotificationDesk(const QString &busAddress, Manner manner = Manner::Sound)
        : name(QUuid::createUuid().toString()),
          bus(QDBusConnection::connectToBus(busAddress, name)),
          manner(manner) {
        bus.registerVirtualObject(path(), this);
        isUp = bus.registerService(interface());
    }
    ~NotificationDesk() override {
        bus.unregisterService(interface());
        bus.unregisterObject(path());
        QDBusConnection::disconnectFromBus(name);
    }

    bool isUp = false;
    QList<Shown> shown;  ///< the number of the first one is 1
    QList<uint> withdrawn;

    void press(uint id, const QString &action) { announce("ActionInvoked", {id, action}); }
    /// As the service does that has shown `id`: the first action.
    void press(uint id) { press(id, shown.at(static_cast<qsizetype>(id) - 1).actions.value(0)); }
    void close(uint id) { announce("NotificationClosed", {id, 2U}); }

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override {
        const QVariantList arguments = message.arguments();
        if (message.interface() != interface())
            return false;
        if (message.member() == "CloseNotification") {
            withdrawn << arguments.value(0).toUInt();
            return connection.send(message.createReply());
        }
        if (message.member() != "Notify" || message.signature() != "susssasa{sv}i")
            return false;
        shown << Shown{arguments[3].toString(), arguments[4].toString(), arguments[5].toStringList()};
        switch (manner) {
            case Manner::Sound:
                return connection.send(message.createReply(static_cast<uint>(shown.size())));
            case Manner::NeverAnswers:
                return true;
            case Manner::Refuses:
                return connection.send(message.createErrorReply(QDBusError::LimitsExceeded, "Too many"));
            case Manner::AnswersWithText:
                return connection.send(message.createReply(QString("done")));
        }
        return false;
    }

  private:
    static QString path() { return "/org/freedesktop/Notifications"; }
    static QString interface() { return "org.freedesktop.Notifications"; }

    void announce(const QString &signal, const QVariantList &arguments) {
        QDBusMessage message = QDBusMessage::createSignal(path(), interface(), signal);
        message.setArguments(arguments);
        bus.send(message);
    }

    QString name;
    QDBusConnection bus;
    Manner manner;
};

}  // namespace ferrolt
