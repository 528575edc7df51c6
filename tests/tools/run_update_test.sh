#!/usr/bin/env bash
# ./run --update without a display installs what its server offers, by way of two mirrors that have no image, restarts the
# engine, shows all of that, and leaves nothing running.
set -euo pipefail
# shellcheck source=tests/tools/checks.sh
source "$(dirname "${BASH_SOURCE[0]}")/checks.sh"

unset DISPLAY WAYLAND_DISPLAY
application=$checkout/build/tour/Applications/LibreOffice.app
pictures=$checkout/build/run
rm -rf "$application" "$pictures"-*.png
status=0
"$checkout/run" --update >"$scratch/printed" 2>&1 || status=$?
if ((status == 200)); then
    cat "$scratch/printed"
    exit 200
fi
((status == 0)) || fail "./run --update ended with status $status: $(<"$scratch/printed")"
expect_lines() {
    local line
    for line in "$@"; do
        grep -qxF "$line" "$scratch/printed" || fail "no line \"$line\" in: $(<"$scratch/printed")"
    done
}
expect_lines 'Downloading LibreOffice from first.mirror.example…' 'Downloading LibreOffice from second.mirror.example…' \
    'Downloading LibreOffice from third.mirror.example…' 'LibreOffice 26.2.4 installed successfully.' \
    'LibreOffice installed; restarting Lumora Core so its workers pick up office-document support.'
(($(stat -c %s "$application/Contents/MacOS/soffice") == 24000000)) || fail 'the application is not whole'
for moment in downloading installed restarted; do
    colours=$(identify -format %k "$pictures-$moment.png")
    ((colours > 10)) || fail "the picture $moment has $colours colours"
done
[[ ! -e /Applications ]] || fail 'the tour has made an /Applications on this machine'
