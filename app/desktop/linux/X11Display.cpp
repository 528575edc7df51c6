#include "X11Display.h"

#include "MainQueue.h"

#include <QGuiApplication>

namespace ferrolt {

xcb_connection_t *x11Display() {
    assertMainThread();
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t x11Atom(xcb_connection_t *display, const QByteArray &name) {
    const auto request =
        xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.constData());
    const X11Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(display, request, nullptr),
                                                  &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

xcb_window_t x11SelectionOwner(xcb_connection_t *display, xcb_atom_t selection) {
    const X11Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(display, xcb_get_selection_owner(display, selection), nullptr),
        &std::free);
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

}  // namespace ferrolt
