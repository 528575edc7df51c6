#!/usr/bin/env bash
# Every way in which a test is skipped, run by CTest itself.
set -euo pipefail
# shellcheck source=tests/tools/checks.sh
source "$(dirname "${BASH_SOURCE[0]}")/checks.sh"

cat >"$scratch/CTestTestfile.cmake" <<'TESTS'
add_test(module.PassingTest "/bin/echo" "PASS   : PassingTest::first()")
add_test(module.FunctionTest "/bin/sh" "-c" "yes | head -c 100000; echo 'SKIP   : FunctionTest::second(row) not here'")
add_test(module.WholeTest "/bin/sh" "-c" "exit 77")
set_tests_properties(module.WholeTest PROPERTIES SKIP_RETURN_CODE 77)
add_test(module.DisabledTest "/bin/true")
set_tests_properties(module.DisabledTest PROPERTIES DISABLED ON)
TESTS
ctest --test-dir "$scratch" >"$scratch/printed"
"$tools/skipped-tests" "$scratch" <"$scratch/printed" >"$scratch/skipped"
expect_text "$scratch/skipped" 'skipped: module.WholeTest
skipped: module.DisabledTest
skipped: module.FunctionTest: FunctionTest::second(row) not here'
