#include "X11Display.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>

namespace ferrolt {

xcb_connection_t *X11Display::connection() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t X11Display::atom(const QByteArray &name) {
    const auto question =
        xcb_intern_atom(connection(), 0, static_cast<std::uint16_t>(name.size()), name.constData());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection(), question, nullptr), &std::free);
    if (!reply)
        return XCB_ATOM_NONE;
    return reply->atom;
}

}  // namespace ferrolt
