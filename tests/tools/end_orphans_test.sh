#!/usr/bin/env bash
# A script that is killed with SIGKILL leaves nothing running: neither a display nor a daemon with a session of its own.
set -euo pipefail
# shellcheck source=tests/tools/checks.sh
source "$(dirname "${BASH_SOURCE[0]}")/checks.sh"
# shellcheck source=tools/processes.sh
source "$tools/processes.sh"

cat >"$scratch/script" <<'SCRIPT'
#!/usr/bin/env bash
set -euo pipefail
cd "$CHECKOUT"
source tools/own-processes.sh
source tools/processes.sh
source tools/virtual-display.sh
kept_variables+=(CHECKOUT SCRATCH)
own_processes clean "$SCRATCH/script"
mkdir "$SCRATCH/display"
start_virtual_display "$SCRATCH/display"
printf '%s\n' "${virtual_display_services[@]}" >"$SCRATCH/pids"
setsid --fork bash -c 'printf "%s\n" "$$" >>"$SCRATCH/pids"; trap "" TERM; while :; do sleep 1; done'
wait_until 10 bash -c '(($(wc -l <"$SCRATCH/pids") == 4))'
mv "$SCRATCH/pids" "$SCRATCH/started"
sleep 1000
SCRIPT
chmod +x "$scratch/script"

CHECKOUT=$checkout SCRATCH=$scratch "$scratch/script" &
script=$!
wait_until 60 test -s "$scratch/started" || fail 'the script started nothing'
mapfile -t started <"$scratch/started"
((${#started[@]} == 4)) || fail "the script started ${#started[@]} processes"
for process in "${started[@]}"; do
    kill -0 "$process" || fail "process $process did not run"
done

kill -KILL "$script"
wait "$script" || true
none_runs() {
    local process
    for process in "${started[@]}"; do
        if has_not_ended "$process"; then
            return 1
        fi
    done
}
# A process without a parent may stay a zombie where nothing reaps it.
has_not_ended() {
    [[ -r /proc/$1/stat && $(cut -d ' ' -f 3 "/proc/$1/stat" 2>/dev/null) != Z ]]
}
wait_until 30 none_runs || fail "left running: $(ps -o pid,args -p "$(IFS=,; printf '%s' "${started[*]}")")"
