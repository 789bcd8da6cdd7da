#!/bin/sh
# Holds the built extended edition to the list of published calls: it exports all of them and nothing else.
# Usage: check_extended_symbols.sh LIBRARY published_calls.h
set -eu
library=$1
rows=$2

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
status=0
complain() {
    echo "$*"
    status=1
}

sed -n 's/^    X(\([A-Za-z0-9_]*\), .*/\1/p' "$rows" | sort >"$directory/expected"
readelf --dyn-syms -W "$library" |
    awk '$1 ~ /^[0-9]+:$/ && $7 != "UND" && $8 != "" { sub(/@.*/, "", $8); print $8 }' |
    sort >"$directory/exported"
if ! diff "$directory/expected" "$directory/exported" >"$directory/difference"; then
    complain "$library does not export what is listed (< missing, > surplus):"
    cat "$directory/difference"
fi
calls=$(wc -l <"$directory/expected")
[ "$calls" -eq 653 ] || complain "$calls calls are listed, not 653"

for needed in $(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
    case $needed in
    libc.so.6 | ld-linux-x86-64.so.2) ;;
    *) complain "$library needs $needed; it may need the C library and the loader only" ;;
    esac
done
exit $status
