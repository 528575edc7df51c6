# shellcheck shell=bash
# To be sourced.

# wait_until SECONDS COMMAND [ARGUMENT...]: runs the command until it succeeds; fails after that time.
wait_until() {
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        if ((SECONDS >= deadline)); then
            return 1
        fi
        sleep 0.2
    done
}

has_ended() {
    ! kill -0 "$1" 2>/dev/null
}

# end_processes PID...: asks each of these children of the shell to end, one after the other; kills what has not ended
# after five seconds.
end_processes() {
    local pid
    for pid in "$@"; do
        kill -TERM "$pid" 2>/dev/null || continue
        wait_until 5 has_ended "$pid" || kill -KILL "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
}
