#!/bin/sh
# usage: counts.sh --count [OPTION]... [FILTER]: counts what the processor does for an operation, for
# every contender of the rows that FILTER names (see qvds_bench --help): instructions, and branches
# that a simple predictor gets wrong. Both are the same in each run.
set -eu
cd "$(dirname "$0")/.."
dumps=build/bench/counts
rm -rf "$dumps"
mkdir "$dumps"
valgrind --tool=callgrind --collect-atstart=no --branch-sim=yes --callgrind-out-file="$dumps/out" \
    build/bench/bench/qvds_bench "$@" 2>"$dumps/log" || {
    cat "$dumps/log" >&2
    exit 1
}
# Each dump names row and size, the contender, and how many operations it holds the totals of:
# instructions, conditional branches, those mispredicted, indirect ones, those mispredicted.
for dump in "$dumps"/out.*; do
    sed -n 's/^desc: Trigger: Client Request: //p; s/^totals: //p' "$dump" | tr '\n' '|'
    echo "${dump##*.}"
done | sort -t '|' -k 5n | awk -F '|' '
    BEGIN { printf "%-26s %-34s %12s %12s\n", "operation", "contender", "instructions", "mispredicted" }
    { split($4, total, " ")
      printf "%-26s %-34s %12.1f %12.2f\n", $1, $2, total[1] / $3, (total[3] + total[5]) / $3 }'
