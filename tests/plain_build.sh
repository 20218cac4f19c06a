#!/bin/sh
# usage: plain_build.sh SOURCE_DIR CXX LIST: compiled with the least of flags and nothing inlined, as
# by a program that takes the sources into its own build, the library still shows the names in LIST
# and no others, and has nothing to do on an exception's way that the C++ run-time library would have
# to be called for.
set -eu
source=$1 cxx=$2 list=$3
library=$(mktemp)
trap 'rm -f "$library"' EXIT

"$cxx" -std=c++20 -O0 -fPIC -shared -I "$source/include" "$source"/src/*/*.cpp -o "$library"
nm -D --defined-only --format=posix "$library" | awk '{ print $1 }' | LC_ALL=C sort | diff "$list" -
! nm -D --undefined-only "$library" | grep -E '__gxx_personality|_Unwind_'
