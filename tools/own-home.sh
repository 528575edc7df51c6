# shellcheck shell=bash
# To be sourced.

# use_own_home FOLDER: from here on, every program has its home in FOLDER, an absolute path, and never touches the
# user's own.
use_own_home() {
    # What is found through the user's home has to be found still.
    if [[ -z ${XAUTHORITY:-} && -r ${HOME:-/}/.Xauthority ]]; then
        export XAUTHORITY=$HOME/.Xauthority
    fi
    mkdir -p "$1"
    export HOME=$1
    export XDG_CONFIG_HOME=$1/.config XDG_CACHE_HOME=$1/.cache XDG_DATA_HOME=$1/.local/share XDG_STATE_HOME=$1/.local/state
    mkdir -p "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_DATA_HOME" "$XDG_STATE_HOME"
}

# use_own_runtime_folder FOLDER: the same for sockets and locks, so that a launcher that the user has installed and
# runs is not taken for the one under trial. The session's bus and its Wayland display are still reached.
use_own_runtime_folder() {
    local session=${XDG_RUNTIME_DIR:-}
    if [[ -n $session ]]; then
        if [[ -n ${WAYLAND_DISPLAY:-} && $WAYLAND_DISPLAY != /* ]]; then
            export WAYLAND_DISPLAY=$session/$WAYLAND_DISPLAY
        fi
        if [[ -z ${DBUS_SESSION_BUS_ADDRESS:-} && -S $session/bus ]]; then
            export DBUS_SESSION_BUS_ADDRESS=unix:path=$session/bus
        fi
    fi
    mkdir -p "$(dirname "$1")"
    mkdir -m 700 "$1" 2>/dev/null || true
    if [[ ! -d $1 || ! -O $1 || -L $1 ]]; then
        printf '%s is not a folder of ours\n' "$1" >&2
        return 1
    fi
    export XDG_RUNTIME_DIR=$1
}

# write_identity BUILD-FOLDER: fills in an identity for the launcher that was built there, in the home folder.
write_identity() {
    local node_server
    node_server=$(sed -n 's/^FERROLT_NODE_SERVER_HOST:[^=]*=//p' "$1/CMakeCache.txt")
    mkdir -p "$HOME/.qor/$node_server"
    printf '%-24s= %s\n' MinerEmailAddress ada@example.org MinerEntityName 'Ada Lovelace' MinerDisplayName '' \
        >"$HOME/.qor/$node_server/MinerClient.properties"
}
