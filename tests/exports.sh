#!/bin/sh
# usage: exports.sh LIBRARY LIST: the shared object shows the names in LIST and no others, calls its
# own functions directly, and is linked as a hardened library that needs the C library alone.
set -eu
library=$1 list=$2 failures=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

symbols=$(nm -D --defined-only --format=posix "$library" | awk '{ print $1 }' | LC_ALL=C sort)
LC_ALL=C sort -c "$list" || fail "$list is not sorted"
difference=$(echo "$symbols" | diff "$list" -) ||
    fail "exports differ (< listed, > exported):
$difference"

dynamic=$(readelf -dW "$library")
echo "$dynamic" | grep -q 'SONAME.*\[libqvds\.so\.1\]' || fail "SONAME is not libqvds.so.1"
echo "$dynamic" | grep -q 'FLAGS.*NOW' || fail "binding is not immediate"
if echo "$dynamic" | grep NEEDED | grep -v '\[libc\.so\.6\]'; then
    fail "needs more than the C library"
fi
segments=$(readelf -lW "$library")
echo "$segments" | grep -q GNU_RELRO || fail "relocations stay writable"
echo "$segments" | grep -q 'GNU_STACK.*RW ' || fail "the stack is executable"

# A function of ours among the relocations means a call that takes a detour, but for those whose
# address a program may share.
shared='qv_tree_null hash_atoi hash_int hash_intcmp hash_mult_func'
relocated=$(readelf -rW "$library" | awk '$5 { print $5 }')
for symbol in $symbols; do
    case " $shared " in
    *" $symbol "*) continue ;;
    esac
    ! echo "$relocated" | grep -qx "$symbol" || fail "$symbol is called through a relocation"
done

exit "$((failures > 0))"
