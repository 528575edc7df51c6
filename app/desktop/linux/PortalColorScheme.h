#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

class QDBusServiceWatcher;

namespace ferrolt {

/// The desktop's preference for dark or light windows from the XDG Desktop Portal on the session bus:
/// interface org.freedesktop.portal.Settings, namespace org.freedesktop.appearance, key color-scheme. Without
/// a bus, a portal or that setting no signal is emitted. Main thread.
class PortalColorScheme : public QObject {
    Q_OBJECT

  public:
    enum class Preference { None, Dark, Light };

    /// Requests the value and every change of it. To be called once; does not wait.
    void watch();

  Q_SIGNALS:
    /// Emitted with the first reply, and whenever the value may have changed.
    void preferenceChanged(ferrolt::PortalColorScheme::Preference preference);

  private Q_SLOTS:
    void settingChanged(const QString &space, const QString &key);

  private:
    void read();
    void take(QVariant value);

    QDBusServiceWatcher *portalWatcher = nullptr;
};

}  // namespace ferrolt
