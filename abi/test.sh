#!/bin/sh
# usage: test.sh SOURCE_DIR WORK_DIR: whether check.sh finds what it is there to find. Each of these
# faults is planted alone in a copy of the sources, and every part of the check that is meant to notice
# has to say so. The copy without a fault has to pass.
# shellcheck disable=SC2016 # a dollar here is sed's last line
set -eu
source=$1 work=$2 failures=0
copy=$work/copy
log=$work/log

# What the parts of check.sh say.
interface='FAILED: the exported interface has changed'
layout='FAILED: layout.c: constants or records have changed'
unlisted='FAILED: layout.c leaves out'
suppressed='FAILED: suppressions.ini has an entry without a comment'
bare='has no debugging information'

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# check OPTION...: builds the copy, with options of CMake's own, and checks it.
check() {
    if ! { cmake -S "$copy" --preset abi -B "$work/build" "$@" && cmake --build "$work/build"; } \
        >"$log" 2>&1; then
        cat "$log"
        exit 1
    fi
    "$copy/abi/check.sh" "$copy" "$work/build/src/libqvds.so" >"$log" 2>&1
}

# noticed FAULT MESSAGE...: what was planted does not pass, and these messages say why.
noticed() {
    fault=$1
    shift
    for message in "$@"; do
        grep -qF "$message" "$log" || {
            fail "$fault: not a word of '$message' in"
            cat "$log"
        }
    done
    echo "noticed: $fault"
}

# plant FILE SCRIPT: has sed edit a file of the copy.
plant() {
    sed "$2" "$source/$1" >"$copy/$1"
    planted="$planted $1"
    ! cmp -s "$source/$1" "$copy/$1" || fail "there is nothing in $1 for $2"
}

# reject FAULT MESSAGE...: checks the copy with what was planted, and takes it out again.
reject() {
    if check; then
        fail "passed: $1"
    else
        noticed "$@"
    fi
    for file in $planted; do
        cp "$source/$file" "$copy/$file"
    done
    planted=
}

rm -rf "$work"
mkdir -p "$copy"
for part in CMakeLists.txt CMakePresets.json abi cmake gdb include src; do
    cp -R "$source/$part" "$copy"
done
planted=

check || {
    fail "rejected: a copy without a fault"
    cat "$log"
}

plant include/qvds/cq.h 's/uint32_t expires;/uint64_t expires;/'
reject 'a field widened into its padding' "$interface" "$layout"

plant include/qvds/qvcq.h '/int32_t head;/{h;d;}; /int32_t tail;/G'
reject 'two fields swapped' "$interface" "$layout"

plant include/qvds/node.h 's/^} qvds_node;/void *added; &/'
reject 'a field added to a record that calls take as void *' "$layout"

plant include/qvds/base.h 's/typedef int32_t (\*qvds_visit_fn)/typedef int64_t (*qvds_visit_fn)/'
reject 'the result of a callback widened' "$interface"

plant include/qvds/qvcq.h 's/int32_t length)/int64_t length)/'
plant src/ring/qvcq.cpp 's/int32_t length)/int64_t length)/'
reject 'an argument widened' "$interface"

plant include/qvds/qvcq.h 's/QVCQ_EMPTY = 3/QVCQ_EMPTY = 4/'
reject 'a constant changed' "$layout"

plant include/qvds/qvcq.h 's/QVCQ_EMPTY = 3/QVCQ_FULL = 2, &/'
reject 'a constant added, and not to layout.c' "$unlisted QVCQ_FULL"

plant include/qvds/node.h 's/^QVDS_API \(void \*qvds_list_top(\)/\1/'
reject 'a symbol lost' "$interface"

plant include/qvds/node.h '/^QVDS_END/i QVDS_API int qvds_list_added(void);'
plant src/chains/node.cpp '$a int qvds_list_added(void) { return 0; }'
reject 'a symbol added' "$interface"

plant abi/suppressions.ini '$a \\n[suppress_type]\nname = qvcq'
reject 'a suppression without a reason' "$suppressed"

if check -DCMAKE_BUILD_TYPE=Release; then
    fail "passed: a library that says nothing of its types"
else
    noticed 'a library that says nothing of its types' "$bare"
fi

exit "$((failures > 0))"
