#!/bin/sh
# usage: headers.sh INCLUDE_DIR CC CXX: each public header compiles alone and without a warning, as
# C11, C++17 and C++20, and includes freestanding headers only.
set -eu
include=$1 cc=$2 cxx=$3 failures=0
warnings='-Wall -Wextra -pedantic -Wconversion -Wcast-align -Wcast-qual -Wshadow -Werror'

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

for header in "$include"/qvds/*.h; do
    name=${header##*/}
    # The name beside the include keeps the translation unit from being empty.
    unit="#include <qvds/$name>
extern int unit;"
    # shellcheck disable=SC2086 # a list of options
    {
        echo "$unit" | "$cc" -x c -std=c11 $warnings -I "$include" -fsyntax-only - || fail "$name as C11"
        for standard in c++17 c++20; do
            echo "$unit" | "$cxx" -x c++ -std=$standard $warnings -I "$include" -fsyntax-only - ||
                fail "$name as $standard"
        done
    }
    foreign=$(sed -n 's/^#include *<\(.*\)>.*/\1/p' "$header" | grep -vE '^(qvds/|stddef\.h|stdint\.h)' || true)
    [ -z "$foreign" ] || { [ "$foreign" = stdio.h ] && grep -q 'FILE \*' "$header"; } ||
        fail "$name includes $foreign"
    [ "$name" = qvds.h ] || grep -q "#include <qvds/$name>" "$include/qvds/qvds.h" ||
        fail "qvds.h leaves out $name"
done

exit "$((failures > 0))"
