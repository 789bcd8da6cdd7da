#!/bin/sh
# Holds the built library to the list of what it exports, and with it the routing table of the documentation
# and the conformance tests, which call every function of the list.
# Usage: check_symbols.sh LIBRARY exported_calls.h routing.md TEST_PROGRAM
set -eu
library=$1
rows=$2
routing=$3
tests=$4

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
status=0
complain() {
    echo "$*"
    status=1
}

# The rows: functions have a family and a routing or stand among the library's own, the rest are variables.
sed -n 's/^    X(\([A-Za-z0-9_]*\)\(, *\([a-z_]*\), *\([a-z_]*\)\)\{0,1\}).*/\1 \3 \4/p' "$rows" >"$directory/rows"
awk 'NF == 3' "$directory/rows" >"$directory/calls"
awk 'NF == 1 { print $1 }' "$directory/rows" | sort >"$directory/own"
awk '{ print $1 }' "$directory/rows" | sort >"$directory/expected"

readelf --dyn-syms -W "$library" |
    awk '$1 ~ /^[0-9]+:$/ && $7 != "UND" && $8 != "" { sub(/@.*/, "", $8); print $4, $8 }' >"$directory/found"
awk '{ print $2 }' "$directory/found" | sort >"$directory/exported"
if ! diff "$directory/expected" "$directory/exported" >"$directory/difference"; then
    complain "$library does not export what is listed (< missing, > surplus):"
    cat "$directory/difference"
fi

calls=$(wc -l <"$directory/calls")
functions=$(grep -c '^FUNC ' "$directory/found")
variables=$(grep -c '^TLS ' "$directory/found")
[ "$calls" -eq 70 ] || complain "$calls OCI functions are listed, not 70"
[ "$functions" -eq 78 ] || complain "$functions functions are exported, not 70 and 8 of the library's own"
[ "$variables" -eq 7 ] || complain "$variables thread-local variables are exported, not 7"

# A call that was written but not listed is in the library all the same, as a local symbol.
forgotten=$(readelf --syms -W "$library" | awk '$4 == "FUNC" && $8 ~ /^OCI[A-Z]/ && $5 == "LOCAL" { print $8 }')
[ -z "$forgotten" ] || complain "defined but not listed for export:" $forgotten

# What a program calls, or hands on to be called, it leaves undefined.
nm -D --undefined-only "$tests" | awk '{ print $NF }' | sort >"$directory/used"
awk '{ print $1 }' "$directory/calls" | sort | comm -23 - "$directory/used" >"$directory/untested"
[ ! -s "$directory/untested" ] || complain "no test in $tests calls:" $(cat "$directory/untested")

awk -F'|' '/^\| `OCI/ { gsub(/[ `]/, ""); print $2, $3, $4 }' "$routing" | sort >"$directory/documented"
sort "$directory/calls" >"$directory/listed"
if ! diff "$directory/listed" "$directory/documented" >"$directory/difference"; then
    complain "$routing differs from the list (< missing, > surplus):"
    cat "$directory/difference"
fi

for needed in $(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
    case $needed in
    libc.so.6 | ld-linux-x86-64.so.2) ;;
    *) complain "$library needs $needed; it may need the C library and the loader only" ;;
    esac
done

# A program may load it late, when no thread-local space is left that stands at the same place in all threads.
if readelf -d "$library" | grep -q STATIC_TLS; then
    complain "$library has thread-local variables of a fixed place; build it without a -ftls-model"
fi

# No call waits for another: all state is a thread's own, and pthread_once loads the backends.
locks=$(readelf --dyn-syms -W "$library" |
    awk '$7 == "UND" && $8 ~ /^(pthread_(mutex|rwlock|spin|cond)|mtx_|cnd_|sem_|__cxa_guard)/ { print $8 }')
[ -z "$locks" ] || complain "$library takes locks:" $locks
exit $status
