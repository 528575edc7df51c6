#!/usr/bin/env bash
# A script that wants a clean environment has nothing of the desktop that it is started from.
set -euo pipefail
# shellcheck source=tests/tools/checks.sh
source "$(dirname "${BASH_SOURCE[0]}")/checks.sh"

cat >"$scratch/script" <<'SCRIPT'
#!/usr/bin/env bash
set -euo pipefail
before=$$
cd "$CHECKOUT"
source tools/own-processes.sh
kept_variables+=(CHECKOUT SCRATCH)
own_processes "$1" "$SCRATCH/script" "$@"
((before == $$))
printf '%s|' "$@" >"$SCRATCH/arguments"
# Bash sets some itself.
env | sed -nE 's/^([A-Za-z_]+)=.*/\1/p' | grep -vxE 'FERROLT_STARTED_BY|OLDPWD|PWD|SHLVL|TERM|_' | sort >"$SCRATCH/variables"
SCRIPT
chmod +x "$scratch/script"

run_script() {
    env -i PATH="$PATH" HOME=/home/of-user CI=true CCACHE_DIR=/ccache LD_PRELOAD=libm.so.6 LC_ALL=C http_proxy=http://192.0.2.1:1 \
        no_proxy=x QT_QPA_PLATFORM=xcb QT_STYLE_OVERRIDE=x XDG_CONFIG_HOME=/x XDG_CURRENT_DESKTOP=x DISPLAY=:99 WAYLAND_DISPLAY=x \
        DBUS_SESSION_BUS_ADDRESS=x SESSION_MANAGER=x SSL_CERT_FILE=/x ASAN_OPTIONS=x CHECKOUT="$checkout" SCRATCH="$scratch" "$scratch/script" "$@"
}

run_script clean 'two words' --option
expect_text "$scratch/variables" "$(printf '%s\n' CCACHE_DIR CHECKOUT CI HOME LC_ALL PATH SCRATCH)"
expect_text <(cat "$scratch/arguments"; echo) 'clean|two words|--option|'

run_script as-is
grep -qx DISPLAY "$scratch/variables" || fail 'a variable was dropped'
