#!/usr/bin/env bash
# What ./tools/coverage makes of the counts: a table, and a status that is 0 only if enough branches are taken and the
# others are explained.
set -euo pipefail
# shellcheck source=tests/tools/checks.sh
source "$(dirname "${BASH_SOURCE[0]}")/checks.sh"

# A checkout with one module, and counts of it: "if (a && b)" and nineteen lines "if (c)".
cd "$scratch"
mkdir -p tools docs room
cp "$tools/branches-table" tools/
{
    printf 'void f() {\n    if (a && b)\n        g();\n    Q_ASSERT(a && b);\n'
    for ((i = 0; i < 19; ++i)); do printf '    if (c) g();\n'; done
    printf '}\n'
} >room/Door.cpp
git init --quiet
git add room

# counts B-FALSE [C-FALSE]: how often "b" was false, and each "c"; everything else was taken.
counts() {
    local branches i
    branches="[2,9,2,10,1,1,0,0,4],[2,14,2,15,1,$1,0,0,4],[4,14,4,15,1,0,0,0,4],[4,19,4,20,1,0,0,0,4]"
    for ((i = 5; i < 24; ++i)); do branches+=",[$i,9,$i,10,1,${2:-1},0,0,4]"; done
    printf '{"data":[{"files":[{"filename":"%s/room/../room/Door.cpp","branches":[%s],"segments":[[1,10,1,true,true],[24,2,0,false,false]]}]}]}' \
        "$scratch" "$branches"
}

# expect_status STATUS: of the table of the counts on standard input
expect_status() {
    local status=0
    tools/branches-table docs/uncovered.md room >table || status=$?
    ((status == $1)) || fail "status $status instead of $1: $(cat table)"
}

counts 1 | expect_status 0
tail -n 1 table | grep -q '^42 of 42 branches taken (100.0 %)' || fail "another last line: $(tail -n 1 table)"

counts 0 | expect_status 1
# shellcheck disable=SC2016  # quoted for a reader
grep -qx 'room/Door.cpp:2: `b` is never false' table || fail 'a branch that no test takes is not told'

# shellcheck disable=SC2016
printf '## room/Door.cpp\n\n- `b` is never false: nobody\n  closes it\n' >docs/uncovered.md
counts 0 | expect_status 0
counts 1 | expect_status 0
grep -q '^listed, but taken this time or gone: room/Door.cpp' table || fail 'an entry without a branch is not told'

counts 1 0 | expect_status 1  # 23 of 42

# shellcheck disable=SC2016
printf '## room/Door.cpp\n\n- `b` is never false:\n' >docs/uncovered.md
counts 0 | expect_status 1 2>"$scratch/complaint"
grep -q "not an entry" "$scratch/complaint" || fail "an entry without a reason is not told"

rm docs/uncovered.md
printf 'void h() { if (d) g(); }\n' >room/Window.cpp
git add room
counts 1 | expect_status 1
grep -qx 'room/Window.cpp: no test program has it' table || fail 'a source that nothing runs is not told'
