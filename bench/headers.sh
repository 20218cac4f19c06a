#!/bin/sh
# usage: headers.sh: how long g++ and clang++ take to parse each C++ header alone: seconds beyond those
# for an empty source, the least of several runs. Two headers of the standard library stand by.
set -eu
cd "$(dirname "$0")/../include"
source=$(mktemp --suffix=.cpp)
trap 'rm "$source"' EXIT

# least COMPILER: the milliseconds that it takes for the source.
least() {
    for _ in 1 2 3 4 5 6 7 8 9; do
        before=$(date +%s%N)
        "$1" -std=c++20 -I . -fsyntax-only "$source"
        echo $((($(date +%s%N) - before) / 1000000))
    done | sort -n | head -n 1
}

gcc_start=$(least g++)
clang_start=$(least clang++)
printf '%-20s %8s %8s\n' header g++ clang++
for header in set chrono qvds/*.hpp; do
    echo "#include <$header>" >"$source"
    printf '%-20s %8.3f %8.3f\n' "$header" "$(($(least g++) - gcc_start))e-3" \
        "$(($(least clang++) - clang_start))e-3"
done
