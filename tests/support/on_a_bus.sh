#!/bin/sh
# Runs a test on a desktop of its own: an X server, a session bus, and the bus of the screen readers already up, since
# Qt looks for that one only once.
#   on_a_bus.sh PROGRAM [ARGUMENT...]
set -eu
XDG_RUNTIME_DIR=$(mktemp -d)
export XDG_RUNTIME_DIR
trap 'rm -rf "$XDG_RUNTIME_DIR"' EXIT INT TERM
export QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
dbus-run-session -- sh -c '
    gdbus call --session --dest org.a11y.Bus --object-path /org/a11y/bus --method org.a11y.Bus.GetAddress >/dev/null
    exec xvfb-run -a "$@"' sh "$@"
