#include "TrayWindow.h"

#include "X11Display.h"

#include <QByteArray>
#include <QGuiApplication>

#include <utility>

namespace ferrolt {

TrayWindow::TrayWindow(std::function<void()> appeared) : appeared(std::move(appeared)) {
    xcb_connection_t *const display = x11Display();
    if (!display)
        return;
    manager = x11Atom(display, "MANAGER");
    // The first screen's: Qt 6 knows no other as the program's own.
    selection = x11Atom(display, "_NET_SYSTEM_TRAY_S0");
    // Qt has asked for the root window's events already, for the sake of its own tray items.
    qGuiApp->installNativeEventFilter(this);
}

bool TrayWindow::isThere() const {
    xcb_connection_t *const display = x11Display();
    return display && x11SelectionOwner(display, selection) != XCB_WINDOW_NONE;
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
