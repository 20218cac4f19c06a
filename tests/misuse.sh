#!/bin/sh
# usage: misuse.sh INCLUDE_DIR CXX FILE...: each file compiles as it is; and for each N in a line
# `#if MISUSE == N`, with MISUSE=N it does not, and the first error is in the words that stand in the
# next line, `// error: words`. Where compilers say different things, ` | ` separates them.
set -u
include=$1 cxx=$2 failures=0
shift 2

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

compile() {
    LC_ALL=C "$cxx" -std=c++20 -Wall -Werror -fsyntax-only -I "$include" "-DMISUSE=$1" "$file" 2>&1
}

for file in "$@"; do
    compile 0 || fail "$file does not compile"
    cases=$(sed -n 's/^#.*if MISUSE == \([0-9]*\)$/\1/p' "$file")
    [ -n "$cases" ] || fail "$file has no cases"
    for case in $cases; do
        words=$(sed -n "/if MISUSE == $case$/{n;s|^ *// error: ||p;}" "$file" | sed 's/ | /\\|/g')
        [ -n "$words" ] || fail "$file does not say what case $case is about"
        if said=$(compile "$case"); then
            fail "$file compiles with MISUSE=$case"
        elif ! echo "$said" | grep 'error:' | head -n 1 | grep -q "$words"; then
            fail "$file, case $case, should begin with: $words
$said"
        fi
    done
done
exit "$((failures > 0))"
