#!/usr/bin/env bash
# What ./bench makes of the figures: a table, and a status that is 0 only if every figure is met.
set -euo pipefail
# shellcheck source=tests/tools/checks.sh
source "$(dirname "${BASH_SOURCE[0]}")/checks.sh"

row() {
    printf 'FIGURE\t%s\t1 ms\t-\t-\t%s\t%s\t-\n' "$@"
}

{ row quick '<= 2 ms' met; printf 'NOTE\tmeasured in a hurry\n'; row informal - -; } >"$scratch/rows"
"$tools/figures-table" "$scratch/rows" >"$scratch/table" || fail 'figures that are met fail'
expect_text "$scratch/table" 'what      ours  peer  ratio  goal     met  spread of what is judged
quick     1 ms  -     -      <= 2 ms  met  -
informal  1 ms  -     -      -        -    -

  measured in a hurry'

row slow '<= 0 ms' MISSED >>"$scratch/rows"
if "$tools/figures-table" "$scratch/rows" >"$scratch/table"; then
    fail 'a missed figure passes'
fi
grep -q 'slow .* MISSED' "$scratch/table" || fail 'a missed figure is not shown'

: >"$scratch/rows"
if "$tools/figures-table" "$scratch/rows" >"$scratch/table"; then
    fail 'no figure at all passes'
fi

if "$checkout/bench" --quick no-such-figure 2>"$scratch/usage"; then
    fail 'a figure that there is not is measured'
fi
grep -q '^usage: ./bench' "$scratch/usage" || fail 'no usage text'
