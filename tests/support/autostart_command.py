#!/usr/bin/python3
"""autostart_command.py FILE: the command of an autostart entry as a desktop of GLib's kind reads it: each word on a line
of its own. Ends with status 1 when the desktop would not start it."""

import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

try:
    entry = Gio.DesktopAppInfo.new_from_filename(sys.argv[1])  # none if what TryExec names is not there
except TypeError:
    sys.exit(1)
if entry.get_is_hidden() or not entry.get_show_in(None):
    sys.exit(1)
if entry.has_key("X-GNOME-Autostart-enabled") and not entry.get_boolean("X-GNOME-Autostart-enabled"):
    sys.exit(1)
_, words = GLib.shell_parse_argv(entry.get_commandline())
print("\n".join(words))
