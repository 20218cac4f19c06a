#!/bin/sh
# usage: coverage.sh BUILD_DIR: runs the tests of a build that counts, and prints the lines and
# branches of src/ and include/ that they reach, as a table. Those that they do not reach are marked
# in BUILD_DIR/coverage.txt. Of a template, a line counts as reached if one instantiation reaches it.
set -eu
cd "$1"
rm -rf profile
for suite in qvds_test qvds_internal_test; do
    LLVM_PROFILE_FILE="profile/$suite" QVDS_TEST_SLOW=1 "tests/$suite" --gtest_brief=1
done
llvm-profdata merge -o profile/all profile/qvds_test profile/qvds_internal_test

ask_for() {
    command=$1
    shift
    llvm-cov "$command" tests/qvds_test -object tests/qvds_internal_test \
        -instr-profile profile/all -ignore-filename-regex '/tests/|^/usr/' "$@"
}
# Each inline function that one of the two does not use is told as a mismatch: noise.
{
    ask_for show -show-branches=count >coverage.txt
    ask_for report -show-region-summary=0
} 2>coverage.log || { cat coverage.log && exit 1; }
