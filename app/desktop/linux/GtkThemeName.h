#pragma once

#include <QAbstractNativeEventFilter>
#include <QString>

#include <functional>

#include <xcb/xcb.h>

namespace ferrolt {

/// The name of an X11 desktop's GTK theme: the setting "Net/ThemeName" of its settings manager
/// (freedesktop.org's XSETTINGS 0.5). Xfce and MATE express their preference for dark windows only by it.
/// Main thread.
class GtkThemeName : public QAbstractNativeEventFilter {
  public:
    /// `changed` is called, from inside X11 event handling, whenever the desktop changes one of its settings.
    /// Never on other displays than X11.
    explicit GtkThemeName(std::function<void()> changed);
    ~GtkThemeName() override;

    /// The current name; empty without a settings manager. Waits for the X server's reply.
    QString read();
    /// By the naming convention of themes: "Adwaita-dark", "Arc-Dark", "Materia-dark-compact".
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
