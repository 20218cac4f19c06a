#!/bin/sh
# usage: headers.sh INCLUDE_DIR CC CXX: each public header compiles alone and without a warning, as
# C11, C++17 and C++20, and includes freestanding headers only; each typed header as C++20 and C++23,
# also without exceptions and run-time types, and so does every member of every typed class.
# Dropping a new root or an allocation draws a warning.
set -eu
include=$1 cc=$2 cxx=$3 failures=0
tests=$(dirname "$0")
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

without='-fno-exceptions -fno-rtti'
for header in "$include"/qvds/*.hpp "$include"/qvds/core/*.hpp; do
    name=${header#"$include"/}
    for options in '-std=c++20' "-std=c++2b $without"; do
        # shellcheck disable=SC2086 # lists of options
        echo "#include <$name>" | "$cxx" -x c++ $options $warnings -I "$include" -fsyntax-only - ||
            fail "$name with $options"
    done
    case $name in
    qvds/qvds.hpp | qvds/core/*) ;;
    *) grep -q "#include <$name>" "$include/qvds/qvds.hpp" || fail "qvds.hpp leaves out $name" ;;
    esac
done
for options in "-std=c++20 $without" '-std=c++2b'; do
    # shellcheck disable=SC2086 # lists of options
    "$cxx" $options $warnings -I "$include" -S -o /dev/null "$tests/instantiations.cpp" ||
        fail "instantiations with $options"
done

# gcc looks at results only when it generates code, so -fsyntax-only won't do.
calls='AA_new(0) AA_dup(0,0) AA_insert(0,0,0,0) AA_delete(0,0,0,0) qv_tree_new(0) qv_tree_insert(t,0,0)
    qv_tree_delete(t,0,0) qv_tree_rotate_left(t) qv_tree_rotate_right(t) qv_tree_partition(t,0)
    qv_tree_balance(t) qv_tree_join(t,t) hash_create(0,0,0,0) list_2_table(0,0)'
unit=$(
    printf '#include <qvds/qvds.h>\nvoid drop(qv_tree *t);\nvoid drop(qv_tree *t) {\n(void)t;\n'
    # shellcheck disable=SC2086 # a list of calls
    printf '%s;\n' $calls
    echo '}'
)
for compiler in "$cc -x c -std=c11" "$cxx -x c++ -std=c++17"; do
    # shellcheck disable=SC2086 # a command and its options
    seen=$(echo "$unit" | $compiler -pedantic -I "$include" -S -o /dev/null - 2>&1 |
        grep -c 'Wunused-result' || true)
    # shellcheck disable=SC2086 # a list of calls
    [ "$seen" = "$(printf '%s\n' $calls | wc -l)" ] ||
        fail "$compiler warns of $seen dropped results alone"
done

exit "$((failures > 0))"
