#pragma once

#include "LauncherStyle.h"
#include "Theme.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariant>

#include <optional>
#include <vector>

class QDBusServiceWatcher;

namespace ferrolt {

/// What the user prefers of every program's look, from the XDG Desktop Portal on the session bus (interface
/// org.freedesktop.portal.Settings). Without a bus or a portal nothing is preferred. A value that cannot be
/// read leaves the last one; an accent colour that is none leaves the program its own.
///
/// Each setting is asked for when it may have changed, once at a time and at most ten times a second, so that
/// neither a portal that never answers nor a flood of signals costs more. Main thread.
class PortalAppearance : public QObject {
    Q_OBJECT

  public:
    enum class Scheme { None, Dark, Light };

    struct Preferences {
        Scheme scheme = Scheme::None;
        Theme::Contrast contrast = Theme::Contrast::Normal;
        std::optional<QColor> accent;
        LauncherStyle::Motion motion = LauncherStyle::Motion::Full;
    };

    PortalAppearance();

    /// Requests the values and every change of them. To be called once; does not wait.
    void watch();

    const Preferences &preferences() const { return preferred; }

  Q_SIGNALS:
    /// A value was read. It may be the same as before.
    void preferencesRead();

  private Q_SLOTS:
    void settingChanged(const QString &space, const QString &key);

  private:
    enum class Key { ColorScheme, Contrast, AccentColor, ReducedMotion, GnomeAnimations, KdeAnimations };
    struct Setting {
        Key key;
        QString space;
        QString name;
        bool isStale = true;
        bool isAsked = false;
        bool stopsMotion = false;
    };

    void readStale();
    void read(Setting &setting);
    void take(Setting &setting, QVariant value);

    std::vector<Setting> settings;
    Preferences preferred;
    QTimer pause;
    QDBusServiceWatcher *portalWatcher = nullptr;
};

}  // namespace ferrolt
