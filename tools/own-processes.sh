# shellcheck shell=bash
# To be sourced.

# What programs that are started by a script need of its caller's environment. Nothing of a desktop's session
# is among it: no proxies, no bus, no display, no settings for Qt, no LD_PRELOAD.
kept_variables=(PATH HOME USER LOGNAME TERM TMPDIR CI CMAKE_CXX_COMPILER_LAUNCHER "${!CCACHE_@}")

# own_processes clean|as-is SCRIPT [ARGUMENT...]: starts the script, an absolute path, anew in the same process, so that
# all that it starts ends with it, even when it is killed with SIGKILL and the started programs have become daemons. With
# "clean" only kept_variables stay of the environment. Returns when that has been done already.
own_processes() {
    local environment=$1 name variables=()
    shift
    if [[ ${FERROLT_STARTED_BY:-} == "$$".* ]]; then
        return
    fi
    if [[ $environment == clean ]]; then
        for name in "${kept_variables[@]}"; do
            if [[ -v $name ]]; then
                variables+=("$name=${!name}")
            fi
        done
        # Tests compare what the system says; it shall not say it in the user's language.
        variables=(-i "${variables[@]}" LC_ALL=C.UTF-8)
    fi
    # Every process inherits this mark, and its /proc/PID/environ shows it.
    local mark=$$.$EPOCHREALTIME
    env -u FERROLT_STARTED_BY setsid tools/end-orphans "$$" "$mark" </dev/null >/dev/null 2>&1 &
    exec env "${variables[@]}" "FERROLT_STARTED_BY=$mark" "$@"
}
