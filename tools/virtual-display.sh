# shellcheck shell=bash
# To be sourced, after tools/processes.sh: a desktop for programs that need one where there is none.

virtual_display_services=()  # bus, display, window manager, in the order of their start
virtual_display_files=

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

is_filled() {
    [[ -s $1 ]]
}

start_bus() {
    dbus-daemon --session --nofork --nopidfile --nosyslog --print-address=3 3>"$virtual_display_files/bus" >"$virtual_display_files/bus.log" 2>&1 &
    virtual_display_services+=("$!")
    wait_until 60 is_filled "$virtual_display_files/bus" || fail "The session bus does not start."
    DBUS_SESSION_BUS_ADDRESS=$(<"$virtual_display_files/bus")
    export DBUS_SESSION_BUS_ADDRESS
}

# A window that is mapped just when the window manager takes over may never be shown.
has_window_manager() {
    xdotool get_num_desktops >"$virtual_display_files/xdotool.log" 2>&1
}

start_display() {
    # A number that no other server has: servers of the same number in different networks take each other's files in
    # /tmp, by which programs in networks of their own find it. No reset when the last program leaves: that drops those
    # that connect meanwhile.
    Xvfb ":$((50100 + SRANDOM % 9000))" -noreset -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$virtual_display_files/display" 2>"$virtual_display_files/display.log" &
    virtual_display_services+=("$!")
    wait_until 60 is_filled "$virtual_display_files/display" || fail "The virtual display does not start: $(<"$virtual_display_files/display.log")"
    DISPLAY=:$(<"$virtual_display_files/display")
    export DISPLAY
    openbox --sm-disable >"$virtual_display_files/openbox.log" 2>&1 &
    virtual_display_services+=("$!")
    wait_until 60 has_window_manager || fail "The window manager does not start: $(<"$virtual_display_files/openbox.log")"
}

# start_virtual_display FOLDER: exports the display and the bus; what the services say goes into files of the folder.
start_virtual_display() {
    virtual_display_files=$1
    unset WAYLAND_DISPLAY QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE QT_SCALE_FACTOR XAUTHORITY
    export QT_QPA_PLATFORM=xcb
    start_bus
    start_display
}

end_virtual_display() {
    local index
    for ((index = ${#virtual_display_services[@]} - 1; index >= 0; --index)); do
        end_processes "${virtual_display_services[index]}"
    done
}
