#!/bin/sh
# Builds public OCI programs and runs their own tests three ways. Usage: run_programs.sh BUILD_DIRECTORY [PROGRAM ...]
# Prints a table of counts; exits with 1 if a test that passes on the embedded library directly does not behind
# libdkomx.so, on either database.
set -eu
build=$(cd "$1" && pwd)
shift
here=$(cd "$(dirname "$0")" && pwd)
work=$build/programs
mkdir -p "$work"
[ $# -gt 0 ] || set -- libzdb libdbi collectd php_oci8

count() {
    grep -c "^$1 " "$2" || true
}

status=0
printf '%-10s %28s %28s %28s\n' program "directly (pass/fail/skip)" "on Oracle" "on Dravik"
for program in "$@"; do
    [ -e "$here/$program.sh" ] || {
        echo "programs: there is no program '$program'" >&2
        exit 2
    }
    sh "$here/$program.sh" "$build" "$work"
    printf '%-10s' "$program"
    for column in direct oracle dravik; do
        list=$work/$program.$column
        printf ' %28s' "$(count PASS "$list") / $(count FAIL "$list") / $(count SKIP "$list")"
    done
    printf '\n'
    [ -s "$work/$program.direct" ] && grep -q '^PASS ' "$work/$program.direct" || {
        echo "programs: no test of $program passes; see $work/$program.direct.log" >&2
        status=1
    }
    for column in oracle dravik; do
        grep '^PASS ' "$work/$program.direct" | sort >"$work/wanted"
        lost=$(sort "$work/$program.$column" | comm -23 "$work/wanted" - | cut -d' ' -f2 | tr '\n' ' ')
        [ -z "$lost" ] || {
            echo "programs: $program passes directly but not on $column: $lost(see $work/$program.$column.log)" >&2
            status=1
        }
    done
done
exit $status
