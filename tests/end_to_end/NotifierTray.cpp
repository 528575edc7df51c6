#include "NotifierTray.h"

#include "Waiting.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QUuid>

namespace ferrolt {
namespace {

const QString watcherService = "org.kde.StatusNotifierWatcher";
const QString watcherPath = "/StatusNotifierWatcher";
const QString itemPath = "/StatusNotifierItem";
const QString itemInterface = "org.kde.StatusNotifierItem";
const QString menuInterface = "com.canonical.dbusmenu";

}  // namespace

NotifierTray::NotifierTray(const QString &busAddress, Host host)
    : connectionName(QUuid::createUuid().toString()),
      bus(QDBusConnection::connectToBus(busAddress, connectionName)),
      host(host) {
    bus.registerObject(watcherPath, this,
                       QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals |
                           QDBusConnection::ExportAllProperties);
    bus.registerService(watcherService);
}

NotifierTray::~NotifierTray() {
    bus.unregisterService(watcherService);
    QDBusConnection::disconnectFromBus(connectionName);
}

void NotifierTray::addHost() {
    host = Host::Present;
    Q_EMIT StatusNotifierHostRegistered();
}

void NotifierTray::RegisterStatusNotifierItem(const QString &service) {
    items << service;
}

QVariantList NotifierTray::ask(const QString &path, const QString &interface, const QString &method,
                               const QVariantList &arguments) const {
    QDBusMessage question = QDBusMessage::createMethodCall(items.last(), path, interface, method);
    question.setArguments(arguments);
    const QDBusPendingCall call = bus.asyncCall(question);
    // Handles events meanwhile: the item may call back before it replies.
    if (!waitUntil([&] { return call.isFinished(); }) || call.isError())
        return {};
    return call.reply().arguments();
}

QVariant NotifierTray::property(const char *name) const {
    const QVariantList answer =
        ask(itemPath, "org.freedesktop.DBus.Properties", "Get", {itemInterface, QString(name)});
    return answer.isEmpty() ? QVariant() : answer.first().value<QDBusVariant>().variant();
}

QString NotifierTray::toolTip() const {
    const QVariant value = property("ToolTip");
    if (!value.isValid())
        return {};
    const auto argument = value.value<QDBusArgument>();
    QString icon;
    QString title;
    argument.beginStructure();
    argument >> icon;
    argument.beginArray();
    while (!argument.atEnd()) {
        argument.beginStructure();
        int width = 0;
        int height = 0;
        QByteArray pixels;
        argument >> width >> height >> pixels;
        argument.endStructure();
    }
    argument.endArray();
    argument >> title;
    argument.endStructure();
    return title;
}

QList<QByteArray> NotifierTray::pictures() const {
    const QVariant value = property("IconPixmap");
    if (!value.isValid())
        return {};
    const auto argument = value.value<QDBusArgument>();
    QList<QByteArray> all;
    argument.beginArray();
    while (!argument.atEnd()) {
        int width = 0;
        int height = 0;
        QByteArray pixels;
        argument.beginStructure();
        argument >> width >> height >> pixels;
        argument.endStructure();
        all << pixels;
    }
    argument.endArray();
    return all;
}

void NotifierTray::activate() const {
    ask(itemPath, itemInterface, "Activate", {0, 0});
}

QList<NotifierTray::Entry> NotifierTray::menu() const {
    const auto menuPath = property("Menu").value<QDBusObjectPath>().path();
    ask(menuPath, menuInterface, "AboutToShow", {0});
    const QVariantList layout = ask(menuPath, menuInterface, "GetLayout",
                                    {0, -1, QStringList{"label", "visible", "enabled", "toggle-state"}});
    if (layout.size() != 2)
        return {};
    // (ia{sv}av), and each child has the same type
    const auto root = layout.at(1).value<QDBusArgument>();
    int id = 0;
    QVariantMap properties;
    root.beginStructure();
    root >> id >> properties;
    QList<Entry> entries;
    root.beginArray();
    while (!root.atEnd()) {
        QDBusVariant child;
        root >> child;
        const auto argument = child.variant().value<QDBusArgument>();
        argument.beginStructure();
        argument >> id >> properties;
        argument.endStructure();
        if (properties.value("visible", true).toBool())
            entries << Entry{id, properties.value("label").toString().remove('_'),
                             properties.value("enabled", true).toBool(),
                             properties.value("toggle-state").toInt() == 1};
    }
    root.endArray();
    root.endStructure();
    return entries;
}

QStringList NotifierTray::menuTexts() const {
    QStringList texts;
    for (const Entry &entry : menu())
        texts << entry.text;
    return texts;
}

void NotifierTray::choose(const QString &text) const {
    const auto menuPath = property("Menu").value<QDBusObjectPath>().path();
    for (const Entry &entry : menu())
        if (entry.text == text)
            ask(menuPath, menuInterface, "Event",
                {entry.id, "clicked", QVariant::fromValue(QDBusVariant(0)), QVariant(0U)});
}

}  // namespace ferrolt
