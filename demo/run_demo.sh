#!/bin/sh
# Shows one program at work on two databases through libdkom.so, one served by the Oracle client library and
# one by Dravik's.
#
#   run_demo.sh BUILD_DIR
#
# BUILD_DIR is a finished build; the demo keeps its files in BUILD_DIR/demo. Exit status 0 when everything
# went as it should.
set -eu

usage() {
    echo "usage: $0 BUILD_DIR" >&2
    exit 2
}

[ $# -eq 1 ] || usage
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" 2>/dev/null && pwd) || { echo "$0: there is no directory $1" >&2; exit 2; }
work=$build/demo
unicode=${UNICODE_DATA_DIR:-/usr/share/unicode}

if [ -t 1 ] && [ -z "${NO_COLOR:-}" ]; then
    bold=$(printf '\033[1;36m') good=$(printf '\033[1;32m') plain=$(printf '\033[0m')
else
    bold='' good='' plain=''
fi

heading() { printf '\n%s== %s%s\n' "$bold" "$1" "$plain"; }
say() { printf '%s\n' "$@"; }
fail() {
    printf '\nThe demo FAILED: %s\n' "$1" >&2
    exit 1
}

# Shows a command as one would type it, then runs it.
show() {
    printf '$'
    for word in "$@"; do
        case $word in
        *\'*) printf ' "%s"' "$word" ;;
        *[!A-Za-z0-9_=./@-]*) printf " '%s'" "$word" ;;
        *) printf ' %s' "$word" ;;
        esac
    done
    printf '\n'
    "$@"
}

PATH=$build/bin:$PATH

for file in bin/dkomsql-exact bin/dkomsql bin/daily lib/libdkom.so lib/libdkomx.so \
    lib/sqlite/libclntsh.so lib/sqlite/libdkoci.so; do
    [ -e "$build/$file" ] || fail "$build/$file is missing; build the project first"
done
for file in PropertyValueAliases.txt Blocks.txt UnicodeData.txt; do
    [ -r "$unicode/$file" ] || fail "$unicode/$file is missing; install the Debian package unicode-data"
done

rm -rf "$work"
mkdir -p "$work/oracle" "$work/dravik" "$work/trace"

export DKOM_ORA_LIB_PATH="$build/lib/sqlite" DKOM_DRK_LIB_PATH="$build/lib/sqlite"
export SQLITE_OCI_CLNTSH_DIR="$work/oracle" SQLITE_OCI_DKOCI_DIR="$work/dravik"
export DKOM_LOG_PATH="$work/trace" DKOM_LOG_LEVEL=10

heading 'Two databases, one program'
say 'dkomsql-exact is an ordinary OCI program, linked with libdkom.so. Behind libdkom.so stand two client' \
    'libraries: libclntsh.so (Oracle) and libdkoci.so (Dravik); here both are built over SQLite.' \
    'The database "east" is known to the Oracle library alone, "west" to the Dravik library alone.' \
    'The program names a database and never says which library is to serve it.' ''
: >"$work/oracle/east.db"
: >"$work/dravik/west.db"
for link in east west; do
    show dkomsql-exact "$link" --status | sed -n '1p;/^Link/p;/^Served by/p'
done

heading 'Real data'
LC_ALL=C awk -v directory="$work" -f "$here/unicode_csv.awk" \
    "$unicode/PropertyValueAliases.txt" "$unicode/Blocks.txt" "$unicode/UnicodeData.txt"
say 'Source:   the Unicode Character Database, as in the Debian package unicode-data,' \
    "          turned from $unicode/*.txt into CSV" \
    'Licence:  Unicode data files licence, Copyright 1991-2022 Unicode, Inc.;' \
    '          text in /usr/share/doc/unicode-data/copyright' \
    "Records:  $(wc -l <"$work/category.csv") categories, $(wc -l <"$work/block.csv") blocks, $(wc -l <"$work/glyph.csv") characters"

heading 'Load: one array insert carries 1000 rows'
cat >"$work/tables.sql" <<'SQL'
CREATE TABLE category (code VARCHAR2(2) PRIMARY KEY, name VARCHAR2(40) NOT NULL);
CREATE TABLE block (id INTEGER PRIMARY KEY, first_code INTEGER NOT NULL, last_code INTEGER NOT NULL,
                    name VARCHAR2(80) NOT NULL);
CREATE TABLE glyph (code INTEGER PRIMARY KEY, name VARCHAR2(120) NOT NULL,
                    category VARCHAR2(2) NOT NULL REFERENCES category, block INTEGER NOT NULL REFERENCES block);
SQL
cd "$work"
for link in east west; do
    dkomsql-exact "$link" -f tables.sql >/dev/null || fail "the tables of $link cannot be made"
    show dkomsql-exact "$link" -e '\copy category.csv category' -e '\copy block.csv block' -e '\copy glyph.csv glyph' ||
        fail "the data cannot be loaded into $link"
done

for table in category block glyph; do
    expected=$(($(wc -l <"$table.csv")))
    for link in east west; do
        count=$(dkomsql-exact "$link" --format csv --no-header -e "SELECT count(*) FROM $table")
        [ "$count" = "$expected" ] || fail "$link has $count rows in $table where $expected were loaded"
    done
done

heading 'The same query on both'
query="SELECT b.name, s.glyphs, s.kinds, to_char(f.code, 'FM0XXXX') AS code, f.name
  FROM (SELECT g.block, count(*) AS glyphs, count(DISTINCT c.name) AS kinds, min(g.code) AS first
          FROM glyph g JOIN category c ON c.code = g.category
         GROUP BY g.block) s
  JOIN block b ON b.id = s.block
  JOIN glyph f ON f.code = s.first
 WHERE b.name LIKE :kind
 ORDER BY 2 DESC, 1
 FETCH FIRST 8 ROWS ONLY"
say 'Blocks with their number of characters and of categories, code and name of their first character:' ''
for link in east west; do
    show dkomsql-exact "$link" --bind 'kind=%Symbols%' -e "$query" || fail "the query failed on $link"
    dkomsql-exact "$link" -e '\status' | sed -n '/^Served by/p'
    say ''
    dkomsql-exact "$link" --format csv --no-header --bind 'kind=%Symbols%' -e "$query" >"rows.$link"
done
cmp -s rows.east rows.west || fail 'the two databases gave different answers'
[ "$(wc -l <rows.east)" -eq 8 ] || fail 'the query did not give 8 rows'
say 'All values are equal, byte by byte. Columns have names where the Oracle library serves the connection;' \
    'on one that Dravik serves the exact edition does not describe them.'

heading 'Large objects, numbers and dates'
say "A second program, samples/daily.c, stores $unicode/UnicodeData.txt as a BLOB in \"east\"," \
    'piece by piece, and converts numbers and dates. Of its steps:' ''
show daily east --keep --lob-file "$unicode/UnicodeData.txt" >daily.east || fail 'the sample program failed on east'
sed -n '1p;/^\[describe\]/,/^\[transaction\]/{/^\[transaction\]/d;p;}' daily.east
say 'dkomsql-exact shows the beginning of the BLOB, and writes it back to a file:' ''
show dkomsql-exact east -e '\d daily_file' -e 'SELECT name, content FROM daily_file' \
    -e '\lob copy.txt SELECT content FROM daily_file' || fail 'the BLOB cannot be read'
cmp "$unicode/UnicodeData.txt" copy.txt || fail 'the BLOB that was read is not the file that was stored'
say 'The file that was written and the one that was stored are equal, byte by byte.' ''
show daily west --skip describe --skip lob >daily.west || fail 'the sample program failed on west'
sed -n 1p daily.west
for link in east west; do
    sed -n '/^\[fetch\]/,/^\[values\]/p;/^\[values\]/,/^$/p' "daily.$link" >"values.$link"
done
cmp values.east values.west || fail 'numbers and dates differ between the two databases'
say 'The same program on "west" printed the same numbers and dates.'

heading 'An error comes from the library that met it'
for pair in east:oracle west:dravik; do
    link=${pair%:*}
    backend=${pair#*:}
    status=0
    show dkomsql-exact "$link" -e 'SELECT name FROM glyphs WHERE code = 9731' >"error.$link" 2>&1 || status=$?
    cat "error.$link"
    [ "$status" -eq 1 ] || fail "the wrong statement on $link ended with status $status"
    grep -q "^error \[$backend\]: ORA-00942" "error.$link" || fail "the error on $link was not reported by $backend"
done

heading 'The trace of one call'
say 'DKOM_LOG_LEVEL=50 writes every call to a file. How OCIServerAttach found out who serves "west":' ''
DKOM_LOG_LEVEL=50 dkomsql-exact west --no-header -e "SELECT name FROM glyph WHERE code = 9731" >snowman.txt
[ "$(cat snowman.txt)" = ' SNOWMAN' ] || fail 'the traced query gave a wrong answer'
set -- "$work"/trace/om_*.log
[ -r "$1" ] || fail 'no trace was written'
escape=$(printf '\033')
# The records of the call without the table look-ups (DEBUG), which say little here.
sed -e "s/$escape\[[0-9;]*m//g" "$@" |
    awk '/^\[/ && ended { exit }
         /TRACE - OCIServerAttach\(\)/ { inside = 1 }
         /END FUNC - OCIServerAttach/ { ended = 1 }
         /^\[/ { wanted = !/ DEBUG/ && !/hash_table_entry/ }
         inside && wanted' |
    sed -e 's/^\[[0-9-]* /[/' -e 's/^/  /' >trace.txt
cat trace.txt
grep -q 'DRAVIK' trace.txt || fail 'the trace does not show the Dravik library'
say '' \
    'Each record has its time, its level and the file and line that wrote it. TRACE marks the entry of' \
    'a call, INFO its arguments, its choices and its result, ERROR a failure. Here: the Oracle library' \
    'was asked first and refused (ORA-12154), then Dravik accepted; from now on "west" is Dravik'"'"'s.' \
    "The whole trace: $1"

heading 'The extended edition'
say 'dkomsql is the same program on libdkomx.so, which describes columns on both databases and takes user names.' \
    'The password comes from a variable here; at a terminal it is asked for:' ''
export DKOMSQL_PASSWORD=tiger
show dkomsql scott@west -e '\d glyph' -e 'SELECT user, name FROM glyph WHERE code = 9731' >extended.txt ||
    fail 'the extended edition failed on west'
cat extended.txt
grep -q '^ SCOTT | SNOWMAN' extended.txt || fail 'the extended edition gave a wrong answer'

heading 'A public program, unchanged'
say "That edition is for programs as they are. The oracle driver of libdbi-drivers, from Debian's sources, knows" \
    'nothing of Dravik. A small application of libdbi uses it on an Oracle and on a Dravik connection.' ''
cd "$build"
if sh "$here/../programs/run_programs.sh" "$build" libdbi >"$work/libdbi.txt"; then
    sed -n 's/^PASS \([a-z_]*\)$/\1/p' programs/libdbi.dravik.log | tr '_\n' ' ,' | sed 's/,/, /g;s/, $//;s/^/Passed on Dravik: /' | fold -s -w 100
    printf '\n\n'
    cat "$work/libdbi.txt"
    say '' '`./run programs` does so with others, PHP among them.'
elif [ -e programs/libdbi.dravik.log ]; then
    fail 'the public program gives other answers behind libdkomx.so'
else
    say 'Left out: its source could not be fetched or built, see above.'
fi

printf '\n%sThe demo succeeded: two databases, two client libraries, one program.%s\n' "$good" "$plain"
