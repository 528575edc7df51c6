#pragma once

#include <QByteArray>
#include <QMap>
#include <QMargins>
#include <QRect>
#include <QString>
#include <QVariant>

#include <optional>

#include <xcb/xcb.h>

namespace ferrolt {

/// Another program on an X display: what the tests need and no tool gives.
class XClient {
  public:
    explicit XClient(const QString &display);
    ~XClient();
    XClient(const XClient &) = delete;
    XClient &operator=(const XClient &) = delete;

    /// Covers the whole screen, as a screen locker does: with a window that no window manager manages.
    void coverScreen();
    void uncoverScreen();

    /// Where a window is on the screen, without its frame.
    QRect placeOf(xcb_window_t window) const;
    /// How far the frame that the window manager gave to a window reaches beyond it; none yet while it is
    /// null.
    std::optional<QMargins> frameOf(xcb_window_t window) const;

    /// Rolls a window up to its title bar or down again; the window manager does so.
    void setRolledUp(xcb_window_t window, bool isRolledUp);

    /// Becomes the display's settings manager (freedesktop.org's XSETTINGS 0.5) or changes what it says.
    /// Values are of type int or QString.
    void setSettings(const QMap<QString, QVariant> &settings);

  private:
    xcb_atom_t atom(const char *name) const;
    xcb_window_t makeWindow(std::uint16_t width, std::uint16_t height);
    void send(xcb_window_t about, const char *type, const QList<std::uint32_t> &data, std::uint32_t mask);

    xcb_connection_t *connection = nullptr;
    const xcb_screen_t *screen = nullptr;
    xcb_window_t cover = XCB_WINDOW_NONE;
    xcb_window_t settingsWindow = XCB_WINDOW_NONE;
    std::uint32_t serial = 0;
};

}  // namespace ferrolt
