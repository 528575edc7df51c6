#pragma once

#include <QAbstractNativeEventFilter>
#include <QString>

#include <functional>

#include <xcb/xcb.h>

namespace ferrolt {

/// The name of the GTK theme that an X desktop tells its programs: "Net/ThemeName" of its settings manager
/// (freedesktop.org's XSETTINGS 0.5). It is what Xfce and MATE give to say that their windows are dark. Main
/// thread.
class GtkThemeName : public QAbstractNativeEventFilter {
  public:
    /// `changed` is called whenever the desktop has changed one of its settings, in the midst of the
    /// display's events. On other displays than X11, never.
    explicit GtkThemeName(std::function<void()> changed);
    ~GtkThemeName() override;

    /// As it is now; empty without a settings manager. Asks the display, and waits for its answer.
    QString read();
    /// By the custom that themes are named by: "Adwaita-dark", "Arc-Dark", "Materia-dark-compact".
    static bool isDark(const QString &name);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

  private:
    std::function<void()> changed;
    xcb_atom_t manager = XCB_ATOM_NONE;
    xcb_atom_t selection = XCB_ATOM_NONE;
    xcb_atom_t property = XCB_ATOM_NONE;
    xcb_window_t owner = XCB_WINDOW_NONE;
};

}  // namespace ferrolt
