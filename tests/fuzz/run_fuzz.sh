#!/bin/sh
# Runs the fuzzers. Usage: run_fuzz.sh BUILD_DIRECTORY SECONDS|RUNSx [TARGET ...]
# Each gets SECONDS; or so many runs, "10000x", which are the same ones each time. What they find that reaches new code is kept in BUILD_DIRECTORY/fuzz/TARGET beside the seeds of
# this directory; what makes one fail in BUILD_DIRECTORY/fuzz/failures. Exit status 1 if one failed.
set -eu
build=$(cd "$1" && pwd)
case $2 in
*x) limit="-runs=${2%x} -seed=1" ;;
*) limit="-max_total_time=$2" ;;
esac
length=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
[ $# -gt 0 ] || set -- texts sql traces variables
failures=$build/fuzz/failures
mkdir -p "$failures"

status=0
for target in "$@"; do
    [ -x "$build/bin/fuzz_$target" ] || {
        echo "fuzz: there is no target '$target'" >&2
        exit 2
    }
    kept=$build/fuzz/$target
    log=$build/fuzz/$target.log
    mkdir -p "$kept"
    dictionary=$here/$target.dict
    printf '%-10s %s ' "$target" "$length"
    result=0
    # shellcheck disable=SC2086 # words
    ASAN_OPTIONS=detect_leaks=0 "$build/bin/fuzz_$target" $limit -timeout=20 -rss_limit_mb=3000 \
        -artifact_prefix="$failures/$target-" ${dictionary:+$([ ! -e "$dictionary" ] || echo "-dict=$dictionary")} \
        -print_final_stats=1 "$kept" "$here/corpus/$target" >"$log" 2>&1 || result=$?
    if [ "$result" -eq 0 ]; then
        sed -n 's/^stat::number_of_executed_units: */runs: /p;s/^stat::new_units_added: */new inputs: /p' "$log" | tr '\n' ' '
        echo
    else
        echo 'FAILED'
        grep -E 'ERROR|SUMMARY|runtime error|Test unit written' "$log" >&2 || tail -n 5 "$log" >&2
        echo "fuzz: the whole report: $log; to see it again: $build/bin/fuzz_$target FILE" >&2
        status=1
    fi
done
exit $status
