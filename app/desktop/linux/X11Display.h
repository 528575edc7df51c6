#pragma once

#include <QByteArray>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace ferrolt {

/// Requests on Qt's connection to an X display. All but x11Display() wait for the X server's reply. Main
/// thread.

/// Null on other displays.
xcb_connection_t *x11Display();
xcb_atom_t x11Atom(xcb_connection_t *display, const QByteArray &name);
/// XCB_WINDOW_NONE while no window owns the selection.
xcb_window_t x11SelectionOwner(xcb_connection_t *display, xcb_atom_t selection);

/// A reply, freed with this pointer.
template <class Reply>
using X11Reply = std::unique_ptr<Reply, decltype(&std::free)>;

}  // namespace ferrolt
