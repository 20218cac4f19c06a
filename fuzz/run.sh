#!/bin/sh
# usage: run.sh BUILD_DIR SECONDS [TARGET...]
#        runs each target for that long, all of them unless some are named, as many at a time as there
#        are processors. Goes on from what the runs before have found. An input that fails is kept in
#        BUILD_DIR/found.
#        run.sh BUILD_DIR keep [TARGET...]
#        replaces the numbered inputs of corpus/ by the fewest that reach all the code that was ever
#        reached. Inputs with other names, which once failed, stay.
set -eu
script=$(realpath "$0")
corpus=$(dirname "$script")/corpus
cd "$1"
what=$2
shift 2
# shellcheck disable=SC2046 # target names
[ $# -gt 0 ] || set -- $(ls "$corpus")
case $what in
keep) ;;
'' | 0* | *[!0-9]*) echo "not a number of seconds: $what" >&2 && exit 2 ;;
esac
for target in "$@"; do
    [ -x "fuzz_$target" ] || { echo "no such target: $target" >&2 && exit 2; }
    mkdir -p found "inputs/$target"
done

keep() {
    fewest=$(mktemp -d)
    "./fuzz_$1" -set_cover_merge=1 -use_counters=0 "$fewest" "inputs/$1" "$corpus/$1" >"$1.log" 2>&1
    rm -f "$corpus/$1"/[0-9]*
    number=0
    for input in "$fewest"/*; do
        number=$((number + 1))
        cp "$input" "$corpus/$1/$number"
    done
    rm -r "$fewest"
    echo "$1: $number inputs"
}

run() {
    "./fuzz_$1" -max_total_time="$what" -max_len=1000 -timeout=10 -print_final_stats=1 \
        -artifact_prefix="found/$1-" "inputs/$1" "$corpus/$1" >"$1.log" 2>&1 || {
        cat "$1.log"
        printf '\n%s: FAILED. The same once more:\n' "$1"
        sed -n "s|.*Test unit written to |$PWD/fuzz_$1 $PWD/|p" "$1.log"
        exit 1
    }
    echo "$1: $(sed -n 's/^stat::number_of_executed_units: *//p' "$1.log") programs, no fault"
}

if [ "$what" = keep ]; then
    for target in "$@"; do
        keep "$target"
    done
elif [ $# = 1 ]; then
    run "$1"
else
    printf '%s\n' "$@" | xargs -P "$(nproc)" -n 1 "$script" "$PWD" "$what"
fi
