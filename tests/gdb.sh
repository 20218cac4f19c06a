#!/bin/sh
# usage: gdb.sh BUILD_DIR CC CXX: gdb answers what the programs of tests/gdb ask in their comments:
# with the library of the build tree, from a core file, on optimised programs, with an installed
# library and with one that was moved.
set -eu
build=$1 cc=$2 cxx=$3
tests=$(cd "$(dirname "$0")" && pwd)
work=$build/gdb-test

skip() {
    echo "skipped: $1"
    exit 77
}
command -v gdb >/dev/null || skip "gdb is missing (package gdb)"
gdb -nx -batch -ex 'python print("yes")' 2>/dev/null | grep -q yes || skip "gdb knows no Python"
rm -rf "$work"
mkdir -p "$work"

# compile PROGRAM PREFIX LIBRARY_DIR OPTION: both programs, PROGRAM.c and PROGRAM.cpp.
compile() {
    "$cc" -std=c11 -g "$4" -Wall -Wextra -pedantic -Werror -I "$2/include" "$tests/gdb/records.c" \
        -o "$work/$1.c" -L "$3" -lqvds "-Wl,-rpath,$3"
    "$cxx" -std=c++20 -g "$4" -Wall -Wextra -pedantic -Werror -I "$2/include" \
        "$tests/gdb/classes.cpp" -o "$work/$1.cpp" -L "$3" -lqvds "-Wl,-rpath,$3"
}

# ask TITLE ARG...: a gdb that is given ARGs must answer everything rightly.
ask() {
    echo "== $1"
    shift
    gdb -q -nx -batch -iex 'set debuginfod enabled off' "$@" -x "$tests/gdb/run.py" \
        >"$work/log" 2>&1 </dev/null || {
        ! grep -q 'ptrace: Operation not permitted' "$work/log" || skip "ptrace is forbidden here"
        cat "$work/log"
        exit 1
    }
    grep 'answers' "$work/log"
}

compile plain "$tests/.." "$build/src" -O0
compile optimised "$tests/.." "$build/src" -O2
trust="add-auto-load-safe-path $build/src"
for program in plain.c plain.cpp; do
    core=$work/$program.core
    ask "$program, loaded with the library" -iex "$trust" -ex "set \$dump = \"$core\"" \
        "$work/$program"
    ask "$program, its core file" -iex "$trust" "$work/$program" "$core"
done
for program in optimised.c optimised.cpp; do
    ask "$program" -iex "$trust" "$work/$program"
done

# What docs/debugging.md shows: programs, each with what is asked of it.
awk -v to="$work/" '
    /^```/ { kind = kind == "" ? substr($0, 4) : ""; first = 1; next }
    first && /^(\/\*|\/\/) debugged\.c/ { program = to $2; print "" >program }
    { first = 0 }
    kind ~ /^c/ && program { print >program }
    kind == "text" && program { print >(program ".answers") }' "$tests/../docs/debugging.md"
"$cc" -std=c11 -g -Wall -Wextra -pedantic -Werror -I "$tests/../include" "$work/debugged.c" \
    -o "$work/guide.c" -L "$build/src" -lqvds "-Wl,-rpath,$build/src"
"$cxx" -std=c++20 -g -Wall -Wextra -pedantic -Werror -I "$tests/../include" "$work/debugged.cpp" \
    -o "$work/guide.cpp"
for program in c cpp; do
    ask "the guide's debugged.$program" -ex "source $tests/../gdb/qvds_gdb.py" \
        -ex "set \$answers = \"$work/debugged.$program.answers\"" "$work/guide.$program"
done

cmake --install "$build" --prefix "$work/first" >/dev/null
compile installed "$work/first" "$(dirname "$(find "$work/first" -name libqvds.so)")" -O0
tree=share/gdb/auto-load
ask "installed" -iex "add-auto-load-scripts-directory $work/first/$tree" \
    -iex "add-auto-load-safe-path $work/first/$tree" "$work/installed.c"

# Moved, gdb no longer finds it by the library's path, but what is there goes together.
moved="$work/Dünne Bretter"
mv "$work/first" "$moved"
stub=$(find "$moved/$tree" -name 'libqvds.so.*-gdb.py')
LD_LIBRARY_PATH=$(dirname "$(find "$moved" -name libqvds.so)")
export LD_LIBRARY_PATH
ask "moved" -ex "source $moved/share/qvds/gdb/qvds_gdb.py" "$work/installed.c"
ask "moved, by what gdb would load" -ex "source $stub" "$work/installed.cpp"
[ -z "$(find "$moved" -name __pycache__)" ]

# Under /usr it lies where gdb looks.
DESTDIR=$work/stage cmake --install "$build" --prefix /usr >/dev/null
library=$(find "$work/stage/usr" -name 'libqvds.so.*.*' -not -path "*/$tree/*")
[ -f "$work/stage/usr/$tree${library#"$work/stage"}-gdb.py" ]
