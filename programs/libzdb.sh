#!/bin/sh
# The connection pool's tests of libzdb. Usage: libzdb.sh BUILD_DIRECTORY WORK_DIRECTORY
# Writes WORK_DIRECTORY/libzdb.COLUMN: a line a test, "PASS name" or "FAIL name".
set -eu
build=$1
work=$2
. "$(dirname "$0")/common.sh"

archive=$(fetch_source libzdb)
tree=$work/libzdb
if [ ! -x "$tree/test/.libs/pool" ]; then
    rm -rf "$tree" && mkdir "$tree"
    tar xf "$archive" -C "$tree" --strip-components=1
    client=$(client_directory)
    cd "$tree"
    # The library stands before the objects on its own link lines.
    ./configure --enable-static=no --without-mysql --without-postgresql --without-sqlite \
        --with-oci-include="$root/include" --with-oci-lib="$client" --disable-dependency-tracking \
        CFLAGS="-O1 -w -Wl,--no-as-needed" >configure.log 2>&1 || fail "libzdb is not configured: $tree/configure.log"
    make >make.log 2>&1 || fail "libzdb is not built: $tree/make.log"
fi

tests=$(sed -n 's/.*printf("=> \(Test[0-9]*\): OK.*/\1/p' "$tree/test/pool.c")
export LD_LIBRARY_PATH="$tree/.libs"
for column in direct oracle dravik; do
    printf 'oracle:///east?user=scott&password=tiger\n.\n' |
        in_column "$column" timeout 120 "$tree/test/.libs/pool" >"$work/libzdb.$column.log" 2>&1 || true
    for test in $tests; do
        if grep -q "^=> $test: OK" "$work/libzdb.$column.log"; then echo "PASS $test"; else echo "FAIL $test"; fi
    done >"$work/libzdb.$column"
done
