#!/bin/sh
# The oracle driver of libdbi-drivers. Usage: libdbi.sh BUILD_DIRECTORY WORK_DIRECTORY
# Writes WORK_DIRECTORY/libdbi.COLUMN: a line a test, "PASS name" or "FAIL name". The drivers' own suite does not
# know this driver: a small application of libdbi uses it instead.
set -eu
build=$1
work=$2
. "$(dirname "$0")/common.sh"

archive=$(fetch_source libdbi-drivers)
tree=$work/libdbi
drivers=$tree/drivers/oracle/.libs
if [ ! -e "$drivers/libdbdoracle.so" ]; then
    rm -rf "$tree" && mkdir "$tree"
    tar xf "$archive" -C "$tree" --strip-components=1
    client=$(client_directory)
    cd "$tree"
    ./configure --disable-docs --with-dbi-incdir=/usr/include --with-dbi-libdir="$(pkg-config --variable=libdir dbi)" \
        --with-oracle --with-oracle-incdir="$root/include" --with-oracle-libdir="$client/lib" \
        --disable-dependency-tracking CFLAGS="-O1 -w" >configure.log 2>&1 ||
        fail "libdbi-drivers is not configured: $tree/configure.log"
    make >make.log 2>&1 || fail "libdbi-drivers is not built: $tree/make.log"
fi
cc -O1 -Wall -Wextra -o "$work/libdbi_exercise" "$root/programs/libdbi_exercise.c" -ldbi ||
    fail "programs/libdbi_exercise.c is not built"

for column in direct oracle dravik; do
    in_column "$column" timeout 120 "$work/libdbi_exercise" "$drivers" >"$work/libdbi.$column.log" 2>&1 ||
        echo "FAIL end: status $?" >>"$work/libdbi.$column.log"
    sed -n 's/^\(PASS\|FAIL\) \([a-z_]*\).*/\1 \2/p' "$work/libdbi.$column.log" >"$work/libdbi.$column"
done
