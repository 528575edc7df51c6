# shellcheck shell=bash
# To be sourced by the tests of the scripts.

checkout=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck disable=SC2034  # the tests use it
tools=$checkout/tools
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
    printf 'FAIL: %s\n' "$*" >&2
    exit 1
}

# expect_text FILE TEXT
expect_text() {
    diff <(printf '%s\n' "$2") "$1" || fail "$1 has another text"
}
