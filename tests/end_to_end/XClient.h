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

/// Another program on an X display, for what no tool can do.
class XClient {
  public:
    explicit XClient(const QString &display);
    ~XClient();
    XClient(const XClient &) = delete;
    XClient &operator=(const XClient &) = delete;

    /// Covers the whole screen with an override-redirect window, as a screen locker does.
    void coverScreen();
    void uncoverScreen();

    /// A window's rectangle on the screen, without its frame.
    QRect placeOf(xcb_window_t window) const;
    /// The margins of the frame that the window manager has given to a window; nothing before that.
    std::optional<QMargins> frameOf(xcb_window_t window) const;

    /// Requests that the window manager rolls a window up to its title bar, or down again.
    void setRolledUp(xcb_window_t window, bool isRolledUp);

    /// Becomes the display's settings manager (freedesktop.org's XSETTINGS 0.5), or changes its settings.
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
