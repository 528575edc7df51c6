#!/usr/bin/env bash
# Runs a test on a desktop of its own: an X server, a session bus, and the bus of the screen readers already up, since
# Qt looks for that one only once.
#   on_a_bus.sh PROGRAM [ARGUMENT...]
set -euo pipefail
XDG_RUNTIME_DIR=$(mktemp -d)
export XDG_RUNTIME_DIR
trap 'rm -rf "$XDG_RUNTIME_DIR"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
export QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
# shellcheck disable=SC2016  # expanded by the inner shell
dbus-run-session -- bash -euc '
    dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus org.a11y.Bus.GetAddress >/dev/null
    exec xvfb-run -a "$@"' bash "$@"
