# shellcheck shell=bash
# To be sourced, after own-home.sh, processes.sh and virtual-display.sh: a launcher in a virtual display, with an identity
# filled in. A picture is what its window looks like.

build= # the folder that it was built in
launcher_pid=
launcher_files=$(mktemp -d) # its home, its sockets, and what the display needs
failures=()                 # what went wrong, each to be read after "The launcher was opened, but"

# A virtual display has no typeface of its own.
write_fonts() {
    mkdir -p "$XDG_CONFIG_HOME/fontconfig"
    cat >"$XDG_CONFIG_HOME/fontconfig/fonts.conf" <<'FONTS'
<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig>
  <alias binding="strong"><family>sans-serif</family><prefer><family>Inter</family></prefer></alias>
  <alias binding="strong"><family>monospace</family><prefer><family>DejaVu Sans Mono</family></prefer></alias>
</fontconfig>
FONTS
}

child_runs() {
    pgrep -P "$launcher_pid" -x "$1" >/dev/null
}

both_run() {
    child_runs Orbix && child_runs qorclient
}

both_run_or_launcher_ended() {
    both_run || has_ended "$launcher_pid"
}

# The largest visible window of the launcher; fails while there is none.
find_window() {
    local id area largest=0
    window=
    for id in $(xdotool search --onlyvisible --pid "$launcher_pid" 2>/dev/null); do
        area=$(xdotool getwindowgeometry --shell "$id" 2>/dev/null | awk -F= '/^(WIDTH|HEIGHT)=/ { a = a ? a * $2 : $2 } END { print a + 0 }')
        if ((area > largest)); then
            largest=$area
            window=$id
        fi
    done
    [[ -n $window ]]
}

# With a complete identity the launcher starts with its window closed; a second start of the program brings it up.
bring_up_window() {
    local status=0
    timeout 20 "$build/bin/ferrolt-miner-launcher" || status=$?
    if ((status != 0)); then
        printf 'The second start of the launcher ended with status %s.\n' "$status"
    fi
    wait_until 10 find_window
}

# open_launcher BUILD-FOLDER: fails the script if the launcher ends before its children run.
open_launcher() {
    build=$1
    # Qt offers its texts to screen readers from the start, and not only once one has asked for them.
    export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
    use_own_runtime_folder "$launcher_files/runtime"
    use_own_home "$launcher_files/home"
    write_identity "$build"
    write_fonts
    start_virtual_display "$launcher_files"

    "$build/bin/ferrolt-miner-launcher" &
    launcher_pid=$!
    wait_until 60 both_run_or_launcher_ended || true
    has_ended "$launcher_pid" && fail "The launcher ended before its children ran."
    bring_up_window || failures+=("its window did not come into view")
}

# To be called at the script's end, also when nothing was opened.
close_launcher() {
    end_processes ${launcher_pid:+"$launcher_pid"}
    end_virtual_display
    rm -rf "$launcher_files"
}

# take_picture FILE
take_picture() {
    if [[ -n ${window:-} ]]; then
        import -window "$window" "$1" || failures+=("no picture could be taken")
    fi
}

print_consoles() {
    tools/console-text "$launcher_pid" 'Lumora Core Engine' 'Qor Client' || failures+=("its consoles could not be read")
}

# Fails if anything did.
report_failures() {
    child_runs Orbix || failures+=("the engine does not run")
    child_runs qorclient || failures+=("the client does not run")
    if ((${#failures[@]} > 0)); then
        printf 'The launcher was opened, but %s.\n' "${failures[@]}"
    fi
    ((${#failures[@]} == 0))
}
