#!/bin/sh
# Runs the tests and fails if an entry point that the library serves was not called by any of them. What is served
# is what is published less what is listed as unserved.
# Usage: check_called.sh AUDIT_LIBRARY ENTRY_POINTS_H UNSERVED_CALLS_H PROGRAM...
set -eu
audit=$1 published=$2 unserved=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

sed -n 's/^ *X(\([A-Za-z0-9_]*\), .*/\1/p' "$published" | sort -u >"$work/published"
grep -o 'X([A-Za-z0-9_]\{3,\})' "$unserved" | sed 's/X(\(.*\))/\1/' | sort -u >"$work/unserved"
comm -23 "$work/published" "$work/unserved" >"$work/served"
if [ "$(comm -13 "$work/published" "$work/unserved" | wc -l)" -ne 0 ] || [ ! -s "$work/served" ]; then
    echo "the lists of entry points do not fit together" && exit 1
fi

for program in "$@"; do
    CALLED_NAMES="$work/called" LD_AUDIT=$audit LD_BIND_NOW= "$program" --gtest_brief=1 >"$work/output" || {
        cat "$work/output"
        exit 1
    }
done
sort -u "$work/called" | comm -23 "$work/served" - >"$work/missing"
if [ -s "$work/missing" ]; then
    echo "served, but called by no test:"
    cat "$work/missing"
    exit 1
fi
echo "all $(wc -l <"$work/served") entry points that are served were called"
