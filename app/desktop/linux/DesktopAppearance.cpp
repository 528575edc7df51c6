#include "DesktopAppearance.h"

#include "GtkThemeName.h"
#include "MainQueue.h"
#include "PortalColorScheme.h"
#include "Theme.h"

#include <QApplication>
#include <QStyle>

#include <optional>

namespace ferrolt {
namespace {

/// With a platform theme that sets colours, the application's palette differs from the style's own.
bool desktopBringsColours() {
    const QPalette own = QApplication::style()->standardPalette();
    const QPalette actual = QApplication::palette();
    for (const QPalette::ColorRole role :
         {QPalette::Window, QPalette::WindowText, QPalette::Base, QPalette::Text, QPalette::Highlight})
        if (own.color(role) != actual.color(role))
            return true;
    return false;
}

/// Follows the portal's preference or, where the portal has none, as on Xfce, the name of the desktop's GTK
/// theme.
class LinuxAppearance final : public DesktopAppearance {
  public:
    LinuxAppearance() : theme([this] { readTheme(); }) {
        QObject::connect(&portal, &PortalColorScheme::preferenceChanged, &portal,
                         [this](PortalColorScheme::Preference now) {
                             preference = now;
                             setPalette();
                         });
        readTheme();
        portal.watch();
    }

  private:
    using Preference = PortalColorScheme::Preference;

    void readTheme() {
        isThemeDark = GtkThemeName::isDark(theme.read());
        setPalette();
    }

    void setPalette() {
        const bool dark = preference == Preference::None ? isThemeDark : preference == Preference::Dark;
        if (dark != isShownDark)
            QApplication::setPalette(dark ? Theme::darkPalette() : Theme::lightPalette());
        isShownDark = dark;
    }

    PortalColorScheme portal;
    GtkThemeName theme;
    Preference preference = Preference::None;
    bool isThemeDark = false;
    std::optional<bool> isShownDark;
};

}  // namespace

std::unique_ptr<DesktopAppearance> DesktopAppearance::follow() {
    assertMainThread();
    if (desktopBringsColours())
        return nullptr;
    return std::make_unique<LinuxAppearance>();
}

}  // namespace ferrolt
