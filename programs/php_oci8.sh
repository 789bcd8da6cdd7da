#!/bin/sh
# The tests of PHP's oci8 extension. Usage: php_oci8.sh BUILD_DIRECTORY WORK_DIRECTORY
# Writes WORK_DIRECTORY/php_oci8.COLUMN: a line a test, "PASS name", "FAIL name" or "SKIP name".
set -eu
build=$1
work=$2
. "$(dirname "$0")/common.sh"

archive=$(fetch_source php8.2)
tree=$work/php
extension=$tree/ext/oci8/modules/oci8.so
if [ ! -e "$extension" ]; then
    rm -rf "$tree" && mkdir "$tree"
    tar xf "$archive" -C "$tree" --strip-components=1 --wildcards '*/ext/oci8/*' '*/run-tests.php'
    client=$(client_directory)
    cd "$tree/ext/oci8"
    { phpize8.2 && ./configure --with-oci8="instantclient,$client" CFLAGS="-O1 -w"; } >configure.log 2>&1 ||
        fail "oci8 is not configured: $tree/ext/oci8/configure.log"
    make >make.log 2>&1 || fail "oci8 is not built: $tree/ext/oci8/make.log"
fi

export PHP_OCI8_TEST_USER=system PHP_OCI8_TEST_PASS=oracle PHP_OCI8_TEST_DB=east NO_INTERACTION=1
TEST_PHP_EXECUTABLE=$(command -v php8.2)
export TEST_PHP_EXECUTABLE
# Those that need a language of the server's, its types, its users or its pooling have nothing to run on.
server_side='create +(or +replace +)?(procedure|function|package|type|trigger|library|public|user|edition)|dbms_|utl_'
server_side="$server_side|\\bbegin\\b|\\bdeclare\\b|create_type\\.inc|collection|xmltype|sys_refcursor|drcp|edition|imp_res"
tests=$(cd "$tree/ext/oci8" && grep -LiE "$server_side" tests/*.phpt)
for column in direct oracle dravik; do
    # Tests leave files beside themselves.
    # shellcheck disable=SC2086 # a list of words
    in_column "$column" timeout 600 sh -c 'cp -r "$1/ext/oci8/tests" "$stage/tests" && cd "$stage" || exit 1
        tree=$1 extension=$2
        shift 2
        ulimit -v 4000000
        php8.2 "$tree/run-tests.php" -n -q --set-timeout 60 -d extension="$extension" "$@"' \
        sh "$tree" "$extension" $tests >"$work/php_oci8.$column.log" 2>&1 || true
    tr '\r' '\n' <"$work/php_oci8.$column.log" | sed 's/\x1b\[[0-9;]*m//g' |
        sed -n 's,^ *\(PASS\|FAIL\|SKIP\|BORK\) .*\[tests/\([a-z0-9A-Z_]*\)\.phpt\].*,\1 \2,p' |
        sed 's/^BORK/FAIL/' | sort -u -k2 >"$work/php_oci8.$column"
done
