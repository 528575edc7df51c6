#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

namespace ferrolt {

/// A panel's tray on a session bus (freedesktop.org's StatusNotifierItem): registers items, reads them and
/// operates them.
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
    /// Makes the host present: a panel may start after the watcher.
    void addHost();

    const QStringList &registeredItems() const { return items; }
    int protocolVersion() const { return 0; }

    /// The newest item's tooltip.
    QString toolTip() const;
    /// The pixels of the item's icons.
    QList<QByteArray> pictures() const;
    void activate() const;

    struct Entry {
        int id = 0;
        QString text;  ///< without mnemonic marks; empty for a separator
        bool isEnabled = true;
        bool isChecked = false;
    };
    /// The item's menu, as the panel gets it when its user opens it.
    QList<Entry> menu() const;
    /// The texts of the item's menu without mnemonic marks.
    QStringList menuTexts() const;
    /// Triggers the menu entry with this text.
    void choose(const QString &text) const;

  public Q_SLOTS:
    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString &service);
    Q_SCRIPTABLE void RegisterStatusNotifierHost(const QString &) {}

  Q_SIGNALS:
    Q_SCRIPTABLE void StatusNotifierHostRegistered();

  private:
    /// The reply's values; empty without a reply.
    QVariantList ask(const QString &path, const QString &interface, const QString &method,
                     const QVariantList &arguments) const;
    QVariant property(const char *name) const;

    QString connectionName;
    QDBusConnection bus;
    Host host;
    QStringList items;
};

}  // namespace ferrolt
