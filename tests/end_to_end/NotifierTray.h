#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

namespace ferrolt {

/// A tray on a session bus, as a panel's would be: it takes items in (freedesktop.org's StatusNotifierItem)
/// and reads and works them.
class NotifierTray : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ registeredItems)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

  public:
    enum class Host { Absent, Present };

    explicit NotifierTray(const QString &busAddress, Host host = Host::Present);
    ~NotifierTray() override;

    bool hasHost() const { return host == Host::Present; }
    /// The panel that draws the items comes after the service that collects them.
    void addHost();

    const QStringList &registeredItems() const { return items; }
    int protocolVersion() const { return 0; }

    /// What the newest item says when the pointer rests on it.
    QString toolTip() const;
    /// The pixels of the pictures of itself that it offers.
    QList<QByteArray> pictures() const;
    void activate() const;

    /// The texts of its menu, without the marks for the keyboard.
    QStringList menuTexts() const;
    /// Chooses the one with this text.
    void choose(const QString &text) const;

  public Q_SLOTS:
    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString &service);
    Q_SCRIPTABLE void RegisterStatusNotifierHost(const QString &) {}

  Q_SIGNALS:
    Q_SCRIPTABLE void StatusNotifierHostRegistered();

  private:
    struct Entry {
        int id = 0;
        QString text;
    };

    /// The answer's values; none when there was no answer.
    QVariantList ask(const QString &path, const QString &interface, const QString &method,
                     const QVariantList &arguments) const;
    QVariant property(const char *name) const;
    QList<Entry> menu() const;

    QString connectionName;
    QDBusConnection bus;
    Host host;
    QStringList items;
};

}  // namespace ferrolt
