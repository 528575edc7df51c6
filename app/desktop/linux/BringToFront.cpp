#include "BringToFront.h"

#include "MainQueue.h"
#include "X11Display.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>

#include <array>
#include <cstdint>
#include <optional>

namespace ferrolt {
namespace {

/// The source indication of the Extended Window Manager Hints.
constexpr std::uint32_t directUserAction = 2;
constexpr std::uint32_t allDesktops = 0xFFFFFFFF;
constexpr const char *shownAgain = "ferrolt-shown-again";

/// A window property that holds one number; nothing if it is missing or holds something else.
std::optional<std::uint32_t> number(xcb_connection_t *display, xcb_window_t window, const char *name) {
    const auto request =
        xcb_get_property(display, 0, window, x11Atom(display, name), XCB_ATOM_CARDINAL, 0, 1);
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(display, request, nullptr),
                                                   &std::free);
    if (!reply || reply->format != 32 || reply->value_len != 1)
        return std::nullopt;
    return *static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
}

void askWindowManager(xcb_connection_t *display, xcb_window_t root, xcb_window_t window, const char *type,
                      std::array<std::uint32_t, 2> arguments) {
    xcb_client_message_event_t request{};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = window;
    request.type = x11Atom(display, type);
    request.data.data32[0] = arguments[0];
    request.data.data32[1] = arguments[1];
    xcb_send_event(display, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&request));
}

/// Qt 6.4's activateWindow() requests activation as an application (source indication 1) with the time of its
/// own last event. If the user has worked in another program since, window managers then only mark the window
/// in the task bar. And openbox does not activate a window of another workspace, so the window is moved to
/// the current one first.
void activateForUser(const QWidget &widget) {
    xcb_connection_t *const display = x11Display();
    if (!display || xcb_connection_has_error(display) != 0)
        return;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
    const auto window = static_cast<xcb_window_t>(widget.winId());
    const auto here = number(display, root, "_NET_CURRENT_DESKTOP");
    const auto there = number(display, window, "_NET_WM_DESKTOP");
    if (here && there && here != there && there != allDesktops)
        askWindowManager(display, root, window, "_NET_WM_DESKTOP", {*here, directUserAction});
    askWindowManager(display, root, window, "_NET_ACTIVE_WINDOW", {directUserAction, XCB_CURRENT_TIME});
    xcb_flush(display);
}

bool isOnWayland() {
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

/// On Wayland a program can neither activate its window without a token nor restore a minimized one. But a
/// newly shown window appears in front.
void showAgain(QWidget &window) {
    window.setProperty(shownAgain, true);
    window.hide();
    window.show();
    window.setProperty(shownAgain, {});
}

}  // namespace

bool isBeingShownAgain(const QWidget &window) {
    return window.property(shownAgain).isValid();
}

void bringToFront(QWidget &window, const std::string &activationToken) {
    assertMainThread();
    if (isOnWayland()) {
        // Qt 6.4 reads the token from this variable. Its tray icon stores the host's token there too.
        if (!activationToken.empty())
            qputenv("XDG_ACTIVATION_TOKEN", activationToken.c_str());
        if (qEnvironmentVariableIsEmpty("XDG_ACTIVATION_TOKEN") && window.windowHandle()->isExposed())
            showAgain(window);
    }
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
    activateForUser(window);
    // A modal alert blocks the window, so the alert gets the focus.
    if (QWidget *const alert = QApplication::activeModalWidget())
        alert->activateWindow();
}

}  // namespace ferrolt
