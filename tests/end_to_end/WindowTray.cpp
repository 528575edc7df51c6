#include "WindowTray.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace ferrolt {
namespace {

constexpr std::uint16_t side = 32;
constexpr std::uint32_t dockRequest = 0;

}  // namespace

WindowTray::WindowTray(const QString &display) : connection(xcb_connect(qPrintable(display), nullptr)) {
    const xcb_screen_t *const screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    window = xcb_generate_id(connection);
    const std::uint32_t overrideRedirect = 1;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, side, side, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_OVERRIDE_REDIRECT,
                      &overrideRedirect);
    xcb_map_window(connection, window);
    const xcb_atom_t selection = atom("_NET_SYSTEM_TRAY_S0");
    xcb_set_selection_owner(connection, window, selection, XCB_CURRENT_TIME);

    xcb_client_message_event_t announcement{};
    announcement.response_type = XCB_CLIENT_MESSAGE;
    announcement.format = 32;
    announcement.window = screen->root;
    announcement.type = atom("MANAGER");
    announcement.data.data32[1] = selection;
    announcement.data.data32[2] = window;
    xcb_send_event(connection, 0, screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&announcement));
    xcb_flush(connection);
}

WindowTray::~WindowTray() {
    xcb_disconnect(connection);
}

xcb_atom_t WindowTray::atom(const char *name) const {
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
            nullptr),
        &std::free);
    return reply->atom;
}

bool WindowTray::takeIn() {
    while (xcb_generic_event_t *const next = xcb_poll_for_event(connection)) {
        const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event(next, &std::free);
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            continue;
        const auto *request = reinterpret_cast<const xcb_client_message_event_t *>(next);
        if (request->type != atom("_NET_SYSTEM_TRAY_OPCODE") || request->data.data32[1] != dockRequest)
            continue;
        const xcb_window_t item = request->data.data32[2];
        const std::uint32_t size[] = {side, side};
        xcb_reparent_window(connection, item, window, 0, 0);
        xcb_configure_window(connection, item, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
        xcb_map_window(connection, item);
        xcb_flush(connection);
        return true;
    }
    return false;
}

}  // namespace ferrolt
