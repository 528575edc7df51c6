#pragma once

#include <QByteArray>

#include <xcb/xcb.h>

namespace ferrolt::X11Display {

/// Qt's connection to the X display; null on others. Not owned. Main thread, with the application object.
xcb_connection_t *connection();

/// The atom of that name; waits for the display's answer. Only with a connection.
xcb_atom_t atom(const QByteArray &name);

}  // namespace ferrolt::X11Display
