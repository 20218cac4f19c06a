#!/bin/sh
# usage: consumer.sh BUILD_DIR CC CXX GENERATOR: installs the library, moves the tree, and builds and
# runs outside programs against it: two in C through pkg-config, one of which names every exported
# symbol while the other is the README's, and one in C++ through find_package.
set -eu
build=$1 cc=$2 cxx=$3 generator=$4
tests=$(cd "$(dirname "$0")" && pwd)
work=$build/consumer
rm -rf "$work"
mkdir -p "$work"

cmake --install "$build" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$work/moved"
prefix=$work/moved
library=$(dirname "$(find "$prefix" -name libqvds.so)")

sed 's/.*/EXPORTED(&)/' "$tests/exports.txt" >"$work/exports.def"
PKG_CONFIG_PATH=$library/pkgconfig
export PKG_CONFIG_PATH
# shellcheck disable=SC2046 # lists of options
"$cc" -std=c11 -Wall -Wextra -pedantic -Werror -I "$work" $(pkg-config --cflags qvds) \
    "$tests/consumer/main.c" $(pkg-config --libs qvds) -o "$work/from_c"
LD_LIBRARY_PATH=$library "$work/from_c"

# The program that the README shows.
awk '/^```/ { inside = $0 == "```c"; next } inside' "$tests/../README.md" >"$work/readme.c"
# shellcheck disable=SC2046 # lists of options
"$cc" -std=c11 -Wall -Wextra -pedantic -Werror $(pkg-config --cflags qvds) "$work/readme.c" \
    $(pkg-config --libs qvds) -o "$work/readme"
[ "$(LD_LIBRARY_PATH=$library "$work/readme" | tr '\n' ' ')" = '1 2 3 ' ]

cmake -G "$generator" -S "$tests/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$cxx" >"$work/cmake.log"
cmake --build "$work/cmake" >>"$work/cmake.log"
"$work/cmake/from_cpp"
