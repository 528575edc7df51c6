#include "TrayWindow.h"

#include "X11Display.h"

#include <QByteArray>
#include <QGuiApplication>

#include <cstdlib>
#include <memory>
#include <utility>

namespace ferrolt {
namespace {

template <class Reply>
using Received = std::unique_ptr<Reply, decltype(&std::free)>;

bool hasOwner(xcb_connection_t *display, xcb_atom_t selection) {
    const Received<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(display, xcb_get_selection_owner(display, selection), nullptr),
        &std::free);
    return reply && reply->owner != XCB_WINDOW_NONE;
}

}  // namespace

TrayWindow::TrayWindow(std::function<void()> appeared) : appeared(std::move(appeared)) {
    xcb_connection_t *const display = X11Display::connection();
    if (!display)
        return;
    manager = X11Display::atom("MANAGER");
    // The first screen's: Qt 6 knows no other as the program's own.
    selection = X11Display::atom("_NET_SYSTEM_TRAY_S0");
    // Qt has asked for the root window's events already, for the sake of its own tray items.
    qGuiApp->installNativeEventFilter(this);
}

bool TrayWindow::isThere() const {
    xcb_connection_t *const display = X11Display::connection();
    return display && hasOwner(display, selection);
}

TrayWindow::~TrayWindow() {
    if (qGuiApp)
        qGuiApp->removeNativeEventFilter(this);
}

bool TrayWindow::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
        return false;
    const auto *told = static_cast<const xcb_client_message_event_t *>(message);
    if (told->type == manager && told->format == 32 && told->data.data32[1] == selection)
        appeared();
    return false;
}

}  // namespace ferrolt
