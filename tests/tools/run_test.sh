#!/usr/bin/env bash
# ./run without a display opens the launcher, both of its children run and write, and its window is to be seen.
set -euo pipefail
# shellcheck source=tests/tools/checks.sh
source "$(dirname "${BASH_SOURCE[0]}")/checks.sh"

unset DISPLAY WAYLAND_DISPLAY
picture=$checkout/build/run.png
rm -f "$picture"
"$checkout/run" >"$scratch/printed" 2>&1 || fail "./run ended with status $?: $(<"$scratch/printed")"
grep -qx -- '--- Lumora Core Engine ---' "$scratch/printed" || fail 'no text of the engine'
grep -qx 'Lumora Core started.' "$scratch/printed" || fail 'the engine did not start'
grep -q 'accepting connections on 127.0.0.1' "$scratch/printed" || fail 'the engine did not open its port'
grep -qx 'Qor Client started.' "$scratch/printed" || fail 'the client did not start'
colours=$(identify -format %k "$picture")
((colours > 10)) || fail "the picture of the window has $colours colours"
