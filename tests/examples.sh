#!/bin/sh
# usage: examples.sh EXAMPLES_DIR [EMULATOR...]: the example programs, run by a command that may go
# before each, explain themselves, refuse what they don't understand, notice a full disk, keep words
# whole whose letters take more than a byte, and do the same in both languages.
set -eu
script=$(realpath "$0")
cd "$1"
shift
emulator=$*
failures=0
text=$(mktemp)
from_c=$(mktemp)
trap 'rm "$text" "$from_c"' EXIT
printf 'Ärger, “naïve” Ärger' >"$text"

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# expect STATUS OUTPUT COMMAND...: runs a command with its output in a file or device.
expect() {
    expected=$1 output=$2 status=0
    shift 2
    $emulator "$@" >"$output" 2>/dev/null || status=$?
    [ "$status" = "$expected" ] || fail "$* >$output ended with $status instead of $expected"
}

while read -r example; do
    expect 0 /dev/null "./$example" "$text"
    expect 0 /dev/null "./$example" --help
    expect 2 /dev/null "./$example" --frobnicate
    expect 2 /dev/null "./$example" "$text" b c d
    expect 1 /dev/null "./$example" "$text.missing"
    expect 1 /dev/full "./$example" "$text"
done <list
listed=$($emulator ./concordance "$text" | awk '{ print $1, $2 }' | tr '\n' ';')
[ "$listed" = 'naïve 1;Ärger 2;2 of;' ] || fail "concordance listed $listed"
same() {
    program=$1
    shift
    $emulator "./$program" "$script" "$@" >"$from_c"
    $emulator "./${program}_cpp" "$script" "$@" | cmp -s - "$from_c" ||
        fail "$program $* and ${program}_cpp $* do not agree"
}
same lru
same ranks
same concordance
same concordance E
same concordance e exb
same concordance x a
exit "$((failures > 0))"
