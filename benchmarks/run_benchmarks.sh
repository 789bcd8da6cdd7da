#!/bin/sh
# Measures what a call through each edition costs. Usage: run_benchmarks.sh BUILD_DIRECTORY [counts]
# Writes BUILD_DIRECTORY/call_cost.json, extended_cost.json and array_rows.json; with "counts" it counts instructions under
# callgrind instead. Exits with 1 when a figure misses its limit.
set -eu
build=$(cd "$1" && pwd)

# Instructions of the whole program for a number of calls.
instructions() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "$build/bin/call_counts$edition" "$1" "$2" 2>&1 |
        sed -n 's/.*Collected : \([0-9]*\).*/\1/p'
}

# What one call takes: the difference of two runs, less the loop around it.
count() {
    few=$(instructions "$1" 1000)
    many=$(instructions "$1" 3000)
    echo $(((many - few) / 2000 - loop))
}

if [ "${2:-}" = counts ]; then
    edition=""
    loop=0
    loop=$(count nothing)
    printf '%-16s %12s %7s %12s %7s\n' call exact limit extended limit
    while read -r call limit extended_limit; do
        edition=""
        exact=$(count "$call")
        edition=x
        printf '%-16s %12s %7s %12s %7s\n' "$call" "$exact" "$limit" "$(count "$call")" "$extended_limit"
    done <<LIMITS
direct - -
commit 120 45
fetch 220 -
attribute_get 220 -
rebind 220 -
lob_read 220 -
number 70 -
date 70 -
LIMITS
    exit 0
fi

# Runs a benchmark program; random interleaving lets a change of the machine's speed meet both sides alike.
measure() {
    program=$1
    shift
    "$build/bin/$program" --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
        --benchmark_out="$build/$program.json" --benchmark_out_format=json "$@"
}

missed=0
measure call_cost --benchmark_repetitions=9 --benchmark_min_time=0.05 || missed=1
measure extended_cost --benchmark_repetitions=9 --benchmark_min_time=0.05 || missed=1
measure array_rows --benchmark_repetitions=5 || missed=1
"$build/bin/lob_pieces" || missed=1
exit "$missed"
