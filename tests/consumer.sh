#!/bin/sh
# usage: consumer.sh BUILD_DIR CC CXX GENERATOR: installs the library, moves the tree to a folder with
# an awkward name, and builds and runs outside programs against it, once with the component that
# programs need alone: in C through pkg-config one that names every exported symbol, with the shared
# library and the static one, and the README's; in C++ through find_package. What the guide to the typed
# classes shows is compiled as well.
set -eu
build=$1 cc=$2 cxx=$3 generator=$4
tests=$(cd "$(dirname "$0")" && pwd)
work=$build/consumer
prefix="$work/Dünne Bretter"
rm -rf "$work"
mkdir -p "$work"

cmake --install "$build" --prefix "$work/first"
mv "$work/first" "$prefix"
library=$(dirname "$(find "$prefix" -name libqvds.so)")
PKG_CONFIG_PATH=$library/pkgconfig
export PKG_CONFIG_PATH

# compile PROGRAM OPTION...: a C source of ours, its options last. What pkg-config prints is quoted for
# a shell.
compile() {
    program=$1
    shift
    "$cc" -std=c11 -Wall -Wextra -pedantic -Werror -I "$work" "$@" -o "$work/$program"
}
eval "set -- $(pkg-config --cflags --libs qvds)"

sed 's/.*/EXPORTED(&)/' "$tests/exports.txt" >"$work/exports.def"
compile from_c "$tests/consumer/main.c" "$@"
LD_LIBRARY_PATH=$library "$work/from_c"

# The programs that the README shows. A block of code that begins with the name of a file is that
# file.
awk -v to="$work" '
    /^```/ { file = ""; first = 1; next }
    first && /^(\/\*|\/\/) [a-z]+\.[a-z]+/ { file = to "/" $2; print "" >file }
    { first = 0 }
    file { print >file }' "$tests/../README.md"
compile program_c "$work/program.c" "$@"
compile_cpp() {
    output=$1
    shift
    "$cxx" -std=c++20 -Wall -Wextra -pedantic -Werror -o "$work/$output" "$@"
}
compile_cpp program_cpp "$work/program.cpp" "-I$prefix/include" # inlined, and so without the library
compile fill.o -c "$work/fill.c" "-I$prefix/include"
compile_cpp walk "$work/walk.cpp" "$work/fill.o" "$@"
[ "$(LD_LIBRARY_PATH=$library "$work/program_c" | tr '\n' ' ')" = '1 2 3 ' ]
[ "$("$work/program_cpp" | tr '\n' ' ')" = '1 2 3 ' ]
[ "$(LD_LIBRARY_PATH=$library "$work/walk" | tr '\n' ' ')" = '1 2 ' ]

# The blocks of the guide are one source.
awk '/^```/ { shown = $0 == "```cpp"; next } shown' "$tests/../docs/typed.md" >"$work/guide.cpp"
[ -s "$work/guide.cpp" ]
compile_cpp guide.o -c "$work/guide.cpp" "-I$prefix/include"

eval "set -- $(pkg-config --static --cflags --libs qvds)"
compile from_c_static "$tests/consumer/main.c" -Wl,-Bstatic "$@" -Wl,-Bdynamic
"$work/from_c_static"

# Under /usr there is nothing to say but the library's name.
DESTDIR=$work/stage cmake --install "$build" --prefix /usr
PKG_CONFIG_PATH=$(dirname "$(find "$work/stage" -name qvds.pc)")
[ "$(pkg-config --cflags --libs qvds | tr -d ' ')" = -lqvds ]

# Every file belongs to a component, and a program runs with the first alone.
for component in runtime development doc; do
    cmake --install "$build" --prefix "$work/parts" --component $component
    [ $component != runtime ] || LD_LIBRARY_PATH=$work/parts/${library#"$prefix"/} "$work/from_c"
done
diff -r "$prefix" "$work/parts"

cmake -G "$generator" -S "$tests/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$cxx"
cmake --build "$work/cmake"
"$work/cmake/from_cpp"
"$work/cmake/from_cpp_static"
