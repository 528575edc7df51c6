#pragma once

#include <QByteArray>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace ferrolt {

/// What this program's connection to an X display is asked. All but x11Display() wait for the display's
/// answer. Main thread.

/// Null on other displays.
xcb_connection_t *x11Display();
xcb_atom_t x11Atom(xcb_connection_t *display, const QByteArray &name);
/// None while nobody owns the selection.
xcb_window_t x11SelectionOwner(xcb_connection_t *display, xcb_atom_t selection);

/// An answer, which the caller owns.
template <class Reply>
using X11Reply = std::unique_ptr<Reply, decltype(&std::free)>;

}  // namespace ferrolt
