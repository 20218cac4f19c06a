#!/bin/sh
# usage: consumer.sh BUILD_DIR CC CXX GENERATOR: installs the library, moves the tree to a folder with
# an awkward name, and builds and runs outside programs against it (consumer/programs.sh), once with
# the component that programs need alone.
set -eu
build=$1
tests=$(cd "$(dirname "$0")" && pwd)
work=$build/consumer
prefix="$work/Dünne Bretter"
rm -rf "$work"
mkdir -p "$work"

cmake --install "$build" --prefix "$work/first"
mv "$work/first" "$prefix"
library=$(dirname "$(find "$prefix" -name libqvds.so)")
shift
PKG_CONFIG_PATH=$library/pkgconfig CMAKE_PREFIX_PATH=$prefix LD_LIBRARY_PATH=$library \
    "$tests/consumer/programs.sh" "$work/programs" "$@"

# Under /usr there is nothing to say but the library's name.
DESTDIR=$work/stage cmake --install "$build" --prefix /usr
PKG_CONFIG_PATH=$(dirname "$(find "$work/stage" -name qvds.pc)")
export PKG_CONFIG_PATH
[ "$(pkg-config --cflags --libs qvds | tr -d ' ')" = -lqvds ]

# Every file belongs to a component, and a program runs with the first alone.
for component in runtime development doc; do
    cmake --install "$build" --prefix "$work/parts" --component $component
    [ $component != runtime ] ||
        LD_LIBRARY_PATH=$work/parts/${library#"$prefix"/} "$work/programs/from_c"
done
diff -r -x auto-load "$prefix" "$work/parts" # in that folder, paths name the prefix
[ -n "$(find "$work/parts" -name 'libqvds.so.*-gdb.py')" ]
