#include "DesktopAppearance.h"

#include "GtkThemeName.h"
#include "LauncherStyle.h"
#include "MainQueue.h"
#include "PortalAppearance.h"
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

/// Follows the portal's preferences. Where it has none for dark or light windows, as on Xfce, the name of the
/// desktop's GTK theme tells.
class LinuxAppearance final : public DesktopAppearance {
  public:
    LinuxAppearance() {
        QObject::connect(&portal, &PortalAppearance::preferencesRead, &portal, [this] { apply(); });
        if (!desktopBringsColours())
            theme.emplace([this] { readTheme(); });
        readTheme();
        portal.watch();
    }

  private:
    using Scheme = PortalAppearance::Scheme;

    void readTheme() {
        isThemeDark = theme && GtkThemeName::isDark(theme->read());
        apply();
    }

    void apply() {
        const PortalAppearance::Preferences &wanted = portal.preferences();
        if (auto *const style = qobject_cast<LauncherStyle *>(QApplication::style()))
            style->setMotion(wanted.motion);
        if (!theme)
            return;
        const bool dark = wanted.scheme == Scheme::None ? isThemeDark : wanted.scheme == Scheme::Dark;
        const QPalette palette = dark ? Theme::darkPalette(wanted.contrast, wanted.accent)
                                      : Theme::lightPalette(wanted.contrast, wanted.accent);
        if (QApplication::palette() != palette)
            QApplication::setPalette(palette);
    }

    PortalAppearance portal;
    std::optional<GtkThemeName> theme;  ///< none where the desktop brings colours
    bool isThemeDark = false;
};

}  // namespace

std::unique_ptr<DesktopAppearance> DesktopAppearance::follow() {
    assertMainThread();
    return std::make_unique<LinuxAppearance>();
}

}  // namespace ferrolt
