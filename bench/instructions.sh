#!/bin/sh
# Counts the instructions of every operation and holds them against a table. `./dev instructions` runs
# this, with what it needs installed and build/count built.
#
#   instructions.sh              against the table, instructions.txt; with another compiler or C
#                                library than it names, against a build of the revision that last
#                                changed it. Fails if a count is off by more than 2 %.
#   instructions.sh --update     writes the table
#   instructions.sh --prove      shows that three instructions more in a push are caught
#   instructions.sh REVISION     prints every count beside that of a revision
set -eu
cd "$(dirname "$0")/.."
table=bench/instructions.txt
work=build/instructions
mkdir -p "$work"

# What counts depend on, besides the code.
surroundings() {
    compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' build/count/CMakeCache.txt)
    echo "# compiler: $("$compiler" --version | sed 's/^[^ ]* //; q'), $("$compiler" -dumpmachine)"
    echo "# C library: $(getconf GNU_LIBC_VERSION)"
}

# count PROGRAM_DIR [LIBRARY_DIR]: prints each operation and its instructions, in the order counted.
count() {
    rm -rf "$work/dumps"
    mkdir "$work/dumps"
    # The C library picks its functions by the processor; it has these everywhere.
    GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-AVX_Fast_Unaligned_Load,-ERMS,-SSSE3,-SSE4_2 \
    LD_LIBRARY_PATH=$PWD/${2:-$1/src} valgrind --tool=callgrind --collect-atstart=no \
        --callgrind-out-file="$work/dumps/out" "$1/bench/qvds_instructions" 2>"$work/log" || {
        cat "$work/log" >&2
        exit 1
    }
    # Each dump names the operation and how often it was done, and holds the total.
    for dump in "$work"/dumps/out.*; do
        sed -n 's/^desc: Trigger: Client Request: //p; s/^totals: //p' "$dump" | tr '\n' ' '
        echo "${dump##*.}"
    done | sort -k 4n | awk '{ printf "%-28s %10.1f\n", $1, $3 / $2 }'
}

# build_as_of REVISION: builds library and typed classes as they were, and counts them as today.
build_as_of() {
    rm -rf "$work/tree"
    git archive --prefix="$work/tree/" "$1" | tar -x
    rm -rf "$work/tree/bench"
    cp -R bench "$work/tree/bench"
    cmake -S "$work/tree" -B "$work/then" -G Ninja -DQVDS_BUILD_COUNT=ON -DQVDS_BUILD_TESTS=OFF \
        -DQVDS_BUILD_EXAMPLES=OFF >/dev/null
    cmake --build "$work/then" >/dev/null
}

# compare THEN NOW: names what differs by more than 2 %, or is in one of them alone.
compare() {
    awk '
        /^#/ { next }
        FNR == NR { was[$1] = $2; next }
        { seen[$1] = 1 }
        !($1 in was) { printf "%s is new\n", $1; bad = 1; next }
        $2 > was[$1] * 1.02 || $2 < was[$1] * 0.98 {
            printf "%s: %s instructions, were %s\n", $1, $2, was[$1]; bad = 1
        }
        END {
            for (name in was)
                if (!(name in seen)) { printf "%s is gone\n", name; bad = 1 }
            exit bad
        }' "$1" "$2"
}

# Every exported function has its line.
demand_all() {
    sed 's/[( ].*//' "$1" | sort -u >"$work/counted"
    missing=$(grep -vx qv_tree_null tests/exports.txt | sort | comm -23 - "$work/counted")
    [ -z "$missing" ] || {
        printf 'instructions.cpp does not count:\n%s\n' "$missing" >&2
        exit 1
    }
}

check() {
    count build/count >"$work/now"
    demand_all "$work/now"
    then=$table
    if [ "$(surroundings)" != "$(grep '^# [cC].*:' $table)" ]; then
        revision=$(git log -1 --format=%h -- $table 2>/dev/null) || revision=
        [ -n "$revision" ] || {
            echo "No history, and another compiler or C library than the table's: not compared."
            exit 0
        }
        echo "Another compiler or C library than the table's: beside a build of $revision."
        build_as_of "$revision"
        count "$work/then" >"$work/then.txt"
        then=$work/then.txt
    fi
    compare "$then" "$work/now" || {
        echo "If that is meant to be: ./dev instructions --update"
        exit 1
    }
    echo "$(wc -l <"$work/now") operations, each within 2 % of what it was"
}

update() {
    count build/count >"$work/now"
    demand_all "$work/now"
    {
        cat <<'TEXT'
# Instructions of each operation, its callbacks, and the calls of it that the counting program makes,
# a time; the mean over those counted. Behind a function stands what does the same in the typed class.
# Written by ./dev instructions --update. ./dev check fails where a count is off by more than 2 %.
TEXT
        surroundings
        cat "$work/now"
    } >$table
    bench/report.py docs/benchmarks.md
}

# Three instructions more in the push of a copy of the library.
prove() {
    rm -rf "$work/slip"
    mkdir "$work/slip"
    cp -R CMakeLists.txt cmake include src gdb bench "$work/slip"
    source=$work/slip/src/chains/lifo.cpp
    sed -i 's/^void \*qvds_lifo_push(.*{/&\n    asm volatile("nop; nop; nop");/' "$source"
    ! cmp -s "$source" src/chains/lifo.cpp || {
        echo "the slip found no place in lifo.cpp" >&2
        exit 1
    }
    cmake -S "$work/slip" -B "$work/slip/build" -G Ninja -DQVDS_BUILD_TESTS=OFF \
        -DQVDS_BUILD_EXAMPLES=OFF >/dev/null
    cmake --build "$work/slip/build" --target qvds >/dev/null
    count build/count >"$work/now"
    count build/count "$work/slip/build/src" >"$work/slip.txt"
    found=$(compare "$work/now" "$work/slip.txt") || true
    case $found in
    "qvds_lifo_push: "*) [ "$(echo "$found" | wc -l)" = 1 ] && echo "Caught: $found" && return ;;
    esac
    printf 'three instructions more in qvds_lifo_push, and this was found:\n%s\n' "$found" >&2
    exit 1
}

case ${1:-} in
'') check ;;
--update) update ;;
--prove) prove ;;
-*)
    sed -n 's/^# \{0,1\}//; /^Counts/,/REVISION/p' "$0" >&2
    exit 2
    ;;
*)
    build_as_of "$1"
    count "$work/then" >"$work/then.txt"
    count build/count >"$work/now"
    paste -d ' ' "$work/then.txt" "$work/now" |
        awk '{ printf "%s %s %s %.2f\n", $1, $2, $4, $4 / $2 }' | column -t
    ;;
esac
