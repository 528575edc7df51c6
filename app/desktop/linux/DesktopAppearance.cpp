#include "DesktopAppearance.h"

#include "GtkThemeName.h"
#include "PortalColorScheme.h"
#include "Theme.h"

#include <QApplication>
#include <QStyle>

#include <optional>

namespace ferrolt {
namespace {

/// A desktop's own theme shows by a palette that differs from what the style would have by itself.
bool desktopBringsColours() {
    const QPalette own = QApplication::style()->standardPalette();
    const QPalette actual = QApplication::palette();
    for (const QPalette::ColorRole role :
         {QPalette::Window, QPalette::WindowText, QPalette::Base, QPalette::Text, QPalette::Highlight})
        if (own.color(role) != actual.color(role))
            return true;
    return false;
}

/// The portal's preference counts. Where it has none, as on Xfce, the name of the desktop's GTK theme does.
class LinuxAppearance final : public DesktopAppearance {
  public:
    LinuxAppearance() : theme([this] { showTheme(); }) {
        QObject::connect(&portal, &PortalColorScheme::preferenceChanged, &portal,
                         [this](PortalColorScheme::Preference now) {
                             preference = now;
                             show();
                         });
        showTheme();
        portal.watch();
    }

  private:
    using Preference = PortalColorScheme::Preference;

    void showTheme() {
        isThemeDark = GtkThemeName::isDark(theme.read());
        show();
    }

    void show() {
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
    if (desktopBringsColours())
        return nullptr;
    return std::make_unique<LinuxAppearance>();
}

}  // namespace ferrolt
