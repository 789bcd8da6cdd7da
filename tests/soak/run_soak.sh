#!/bin/sh
# Random calls against a model of what the library should do, both editions, round after round with seeds that were
# not used before. Usage: run_soak.sh BUILD_DIRECTORY MINUTES [FIRST_SEED]
# Exit status 1 at the first difference, with the command that shows it again.
set -eu
build=$(cd "$1" && pwd)
minutes=$2
seed=${3:-$(date +%s)}
log=$build/soak.log
begin=$(date +%s)
end=$((begin + minutes * 60))
exact=0
extended=0
# Calls of a round: ten sequences of 400, and as many as asked for of one thread and of four.
exact_calls=4000
extended_calls=200000

say() {
    now=$(($(date +%s) - begin))
    printf '%d:%02d of %d:00  exact edition: %d calls  extended edition: %d calls  seed %d' $((now / 60)) $((now % 60)) \
        "$minutes" "$exact" "$extended" "$seed"
}

run() {
    "$@" >"$log" 2>&1 && return 0
    [ ! -t 1 ] || printf '\n'
    tail -n 30 "$log" >&2
    echo "soak: a difference; to see it again: DKOM_TEST_SEED=$seed EXTENDED_TESTS_CALLS=$extended_calls $*" >&2
    exit 1
}

while [ "$(date +%s)" -lt "$end" ]; do
    export DKOM_TEST_SEED="$seed" EXTENDED_TESTS_CALLS="$extended_calls"
    run "$build/bin/manager_tests" --gtest_brief=1 '--gtest_filter=*Model*'
    exact=$((exact + exact_calls))
    run "$build/bin/extended_tests" --gtest_brief=1 '--gtest_filter=ExtendedModel.*'
    extended=$((extended + extended_calls + extended_calls * 4 / 10))
    seed=$((seed + 10))
    [ ! -t 1 ] || { printf '\r'; say; }
done
[ ! -t 1 ] || printf '\r'
say
printf '\nNo difference.\n'
