#!/bin/sh
# usage: subproject.sh BUILD_DIR CC CXX GENERATOR: builds a project in C that has a copy of the library
# as a part of it, in a folder with an awkward name, and sees what it installs: nothing, until asked.
# Then configures the copy by itself where there is no GoogleTest.
set -eu
build=$1 cc=$2 cxx=$3 generator=$4
tests=$(cd "$(dirname "$0")" && pwd)
work=$build/subproject
parent="$work/Große Pläne"
rm -rf "$work"
mkdir -p "$work"
cp -R "$tests/subproject" "$parent"
mkdir "$parent/qvds"
for part in CMakeLists.txt cmake examples gdb include src tests; do
    cp -R "$tests/../$part" "$parent/qvds"
done

configure() {
    cmake -G "$generator" -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" "$@"
}

configure -S "$parent" -B "$parent/build" -DCMAKE_BUILD_TYPE=Debug
cmake --build "$parent/build"
"$parent/build/from_qvds"
"$parent/build/from_qvds_static"

cmake --install "$parent/build" --prefix "$work/installed"
[ ! -e "$work/installed" ]
configure -S "$parent" -B "$parent/build" -DQVDS_INSTALL=ON
cmake --install "$parent/build" --prefix "$work/installed"
[ -n "$(find "$work/installed" -name libqvds.so)" ]

configure -S "$parent/qvds" -B "$work/alone" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
    2>"$work/messages" || { cat "$work/messages" && exit 1; }
[ "$(grep -c GoogleTest "$work/messages")" = 1 ]
