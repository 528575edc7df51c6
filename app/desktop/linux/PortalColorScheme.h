#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

class QDBusServiceWatcher;

namespace ferrolt {

/// The desktop's preference for dark or light windows, as the desktop portal tells it on the session bus:
/// namespace org.freedesktop.appearance, key color-scheme (XDG Desktop Portal, interface
/// org.freedesktop.portal.Settings). Where there is no bus, no portal or no such setting, nothing ever comes.
/// Main thread.
class PortalColorScheme : public QObject {
    Q_OBJECT

  public:
    enum class Preference { None, Dark, Light };

    /// Asks for the value and for every change of it. Returns at once.
    void watch();

  Q_SIGNALS:
    /// With the first answer, and whenever the value may have changed.
    void preferenceChanged(ferrolt::PortalColorScheme::Preference preference);

  private Q_SLOTS:
    void settingChanged(const QString &space, const QString &key);

  private:
    void read();
    void take(QVariant value);

    QDBusServiceWatcher *portalWatcher = nullptr;
};

}  // namespace ferrolt
