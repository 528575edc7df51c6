#pragma once

#include <QString>

#include <optional>

#include <xcb/xcb.h>

namespace ferrolt {

/// A tray in a corner of an X display that takes windows in (freedesktop.org's System Tray Protocol 0.3).
class WindowTray {
  public:
    explicit WindowTray(const QString &display);
    ~WindowTray();

    /// Takes in the window that asks for it, if one has asked; to be called until it has.
    bool takeIn();

  private:
    xcb_atom_t atom(const char *name) const;

    xcb_connection_t *connection = nullptr;
    xcb_window_t window = XCB_WINDOW_NONE;
};

}  // namespace ferrolt
