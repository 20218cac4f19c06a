#!/bin/sh
# usage: coverage.sh BUILD_DIR: runs the tests of a build that counts, and prints the lines and
# branches of src/ and include/ that they reach, as a table. Those that they do not reach are marked
# in BUILD_DIR/coverage.txt. Of a template, a line counts as reached if one instantiation reaches it.
set -eu
cd "$1"
rm -rf profile
objects=
for suite in tests/qvds_test tests/qvds_internal_test fuzz/fuzz_*; do
    [ -x "$suite" ] || continue # what CMake keeps beside them
    echo "$suite"
    LLVM_PROFILE_FILE="profile/${suite#*/}" QVDS_TEST_SLOW=1 "$suite" --gtest_brief=1 >suite.log ||
        { cat suite.log && exit 1; }
    objects="$objects -object $suite"
done
llvm-profdata merge -o profile/all profile/*

ask_for() {
    command=$1
    shift
    # shellcheck disable=SC2086 # a list of options
    llvm-cov "$command" $objects -instr-profile profile/all \
        -ignore-filename-regex '/tests/|/fuzz/|^/usr/' "$@"
}
# Each inline function that a suite does not use is told as a mismatch: noise.
{
    ask_for show -show-branches=count >coverage.txt
    ask_for report -show-region-summary=0
} 2>coverage.log || { cat coverage.log && exit 1; }
