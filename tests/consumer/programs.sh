#!/bin/sh
# usage: programs.sh WORK_DIR CC CXX GENERATOR: builds and runs outside programs against an installed
# library, which pkg-config, CMake and the dynamic linker have to find by themselves or by what the
# environment tells them: in C through pkg-config one that names every exported symbol, with the shared
# library and the static one, and the README's; in C++ through find_package. What the guide to the typed
# classes shows is compiled as well.
set -eu
work=$1 cc=$2 cxx=$3 generator=$4
tests=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$work"

# compile PROGRAM OPTION...: a C source of ours, its options last. What pkg-config prints is quoted for
# a shell.
compile() {
    program=$1
    shift
    "$cc" -std=c11 -Wall -Wextra -pedantic -Werror -I "$work" "$@" -o "$work/$program"
}
compile_cpp() {
    output=$1
    shift
    "$cxx" -std=c++20 -Wall -Wextra -pedantic -Werror -o "$work/$output" "$@"
}

# The programs that the README shows. A block of code that begins with the name of a file is that
# file.
awk -v to="$work" '
    /^```/ { file = ""; first = 1; next }
    first && /^(\/\*|\/\/) [a-z]+\.[a-z]+/ { file = to "/" $2; print "" >file }
    { first = 0 }
    file { print >file }' "$tests/../README.md"
# The blocks of the guide are one source.
awk '/^```/ { shown = $0 == "```cpp"; next } shown' "$tests/../docs/typed.md" >"$work/guide.cpp"
[ -s "$work/guide.cpp" ]
sed 's/.*/EXPORTED(&)/' "$tests/exports.txt" >"$work/exports.def"

eval "set -- $(pkg-config --cflags qvds)"
compile_cpp guide.o -c "$work/guide.cpp" "$@"
compile_cpp program_cpp "$work/program.cpp" "$@" # inlined, and so without the library
[ "$("$work/program_cpp" | tr '\n' ' ')" = '1 2 3 ' ]
compile fill.o -c "$work/fill.c" "$@"

eval "set -- $(pkg-config --cflags --libs qvds)"
compile program_c "$work/program.c" "$@"
[ "$("$work/program_c" | tr '\n' ' ')" = '1 2 3 ' ]
compile_cpp walk "$work/walk.cpp" "$work/fill.o" "$@"
[ "$("$work/walk" | tr '\n' ' ')" = '1 2 ' ]
compile from_c "$tests/consumer/main.c" "$@"
"$work/from_c"

eval "set -- $(pkg-config --static --cflags --libs qvds)"
compile from_c_static "$tests/consumer/main.c" -Wl,-Bstatic "$@" -Wl,-Bdynamic
"$work/from_c_static"

cmake -G "$generator" -S "$tests/consumer" -B "$work/cmake" -DCMAKE_CXX_COMPILER="$cxx"
cmake --build "$work/cmake"
"$work/cmake/from_cpp"
"$work/cmake/from_cpp_static"
