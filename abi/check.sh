#!/bin/sh
# usage: check.sh SOURCE_DIR LIBRARY [--update]: a program that was built against version 1.0 works with
# this library and its headers: what the shared object exports is what the baseline says, from the
# names to each field that is reached through an argument, and constants and records are as in layout.c.
# --update shows what has changed and makes it the baseline.
#
# The library needs its debugging information: without it abidiff compares names alone, and passes.
# Nor is abidiff told to leave out private types (--drop-private-types), since against a baseline without
# locations that leaves out all types.
set -eu
abi=$1/abi include=$1/include library=$2 mode=${3:-} failures=0
baseline=$abi/libqvds.abi
object=$library.layout.o

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

readelf -SW "$library" | grep -q '\.debug_info' || {
    fail "$library has no debugging information"
    exit 1
}

# The compiler drops types that no code uses, and with them constants, unless told not to.
if "${CC:-cc}" -std=c11 -g -fno-eliminate-unused-debug-types -I "$include" -c "$abi/layout.c" \
    -o "$object"; then
    constants=$(readelf --debug-dump=info "$object" |
        awk '/DW_TAG_/ { enumerator = /DW_TAG_enumerator/ } enumerator && /DW_AT_name/ { print $NF }')
    [ -n "$constants" ] || fail "no constants were found"
    for constant in $constants; do
        grep -q "^CONSTANT($constant," "$abi/layout.c" || fail "layout.c leaves out $constant"
    done
else
    fail "layout.c: constants or records have changed"
fi
rm -f "$object"

awk '/^\[/ && before !~ /^#/ { exit 1 } { before = $0 }' "$abi/suppressions.ini" ||
    fail "suppressions.ini has an entry without a comment above it that says why"

status=0
abidiff --no-default-suppression --suppressions "$abi/suppressions.ini" "$baseline" "$library" ||
    status=$?
if [ "$mode" = --update ]; then
    abidw --no-show-locs --no-corpus-path --no-comp-dir-path --no-parameter-names \
        --type-id-style hash --out-file "$baseline" "$library"
elif [ $((status & 3)) != 0 ]; then # its bits: 1 and 2 it has failed, 4 changed, 8 incompatible
    fail "abidiff has failed with status $status"
elif [ $status != 0 ]; then
    fail "the exported interface has changed (status $status)"
fi

exit "$((failures > 0))"
