#include "DesktopAppearance.h"

#include "PortalColorScheme.h"
#include "Theme.h"

#include <QApplication>
#include <QStyle>

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

class LinuxAppearance final : public DesktopAppearance {
  public:
    LinuxAppearance() {
        show(PortalColorScheme::Preference::None);
        QObject::connect(&portal, &PortalColorScheme::preferenceChanged, &portal,
                         [](PortalColorScheme::Preference preference) { show(preference); });
        portal.watch();
    }

  private:
    static void show(PortalColorScheme::Preference preference) {
        const bool dark = preference == PortalColorScheme::Preference::Dark;
        QApplication::setPalette(dark ? Theme::darkPalette() : Theme::lightPalette());
    }

    PortalColorScheme portal;
};

}  // namespace

std::unique_ptr<DesktopAppearance> DesktopAppearance::follow() {
    if (desktopBringsColours())
        return nullptr;
    return std::make_unique<LinuxAppearance>();
}

}  // namespace ferrolt
