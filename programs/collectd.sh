#!/bin/sh
# collectd with its plugin for databases. Usage: collectd.sh BUILD_DIRECTORY WORK_DIRECTORY
# Writes WORK_DIRECTORY/collectd.COLUMN: a line a test, "PASS name" or "FAIL name". The plugin has no tests of its
# own: the daemon runs for some intervals on queries with known answers, and what it has written is looked at.
set -eu
build=$1
work=$2
. "$(dirname "$0")/common.sh"

archive=$(fetch_source collectd)
tree=$work/collectd
if [ ! -e "$tree/.libs/oracle.so" ]; then
    rm -rf "$tree" && mkdir "$tree"
    tar xf "$archive" -C "$tree" --strip-components=1
    client=$(client_directory)
    cd "$tree"
    { ./build.sh && ./configure --disable-all-plugins --enable-oracle --enable-csv --enable-logfile --disable-werror \
        --with-oracle="$client" --disable-dependency-tracking CFLAGS="-O1 -w"; } >configure.log 2>&1 ||
        fail "collectd is not configured: $tree/configure.log"
    { make src/liboconfig/parser.h && make collectd oracle.la csv.la logfile.la; } >make.log 2>&1 || fail "collectd is not built: $tree/make.log"
fi

# Writes the daemon's configuration: a query a line of "name|instance columns|value column|statement".
configuration() {
    cat <<CONFIGURATION
Hostname "host"
FQDNLookup false
Interval 1
BaseDir "$stage"
PIDFile "$stage/pid"
PluginDir "$tree/.libs"
TypesDB "$tree/src/types.db"
LoadPlugin logfile
<Plugin logfile>
  LogLevel info
  File STDOUT
</Plugin>
LoadPlugin csv
<Plugin csv>
  DataDir "$stage/csv"
</Plugin>
LoadPlugin oracle
<Plugin oracle>
CONFIGURATION
    queries | while IFS='|' read -r name instances value statement; do
        printf '  <Query "%s">\n    Statement "%s"\n    <Result>\n      Type "gauge"\n' "$name" "$statement"
        printf '      InstancePrefix "%s"\n      InstancesFrom %s\n      ValuesFrom "%s"\n' "$name" "$instances" "$value"
        printf '    </Result>\n  </Query>\n'
    done
    for link in east nowhere; do
        printf '  <Database "%s">\n    ConnectID "%s"\n    Username "scott"\n    Password "tiger"\n' "$link" "$link"
        queries | sed 's/^\([a-z]*\)|.*/    Query "\1"/'
        printf '  </Database>\n'
    done
    echo '</Plugin>'
}

queries() {
    cat <<'QUERIES'
numbers|"ITEM"|AMOUNT|select 'a' as item, 42.5 as amount from dual union all select 'b', -1 from dual
texts|"ITEM"|AMOUNT|select 'c' as item, '17.25' as amount from dual
columns|"A" "B"|N|select 'd' as a, 'e' as b, 1/4 as n from dual
catalogue|"KIND"|N|select 'tables' as kind, count(*) as n from user_tables where table_name = 'NOSUCH'
wrong|"ITEM"|N|select item, n from nosuch
days|"ITEM"|N|select 'f' as item, (date '2026-03-01' - date '2026-02-27') * 24 as n from dual
QUERIES
}

run_daemon() {
    configuration >"$stage/collectd.conf"
    timeout -s TERM 4 "$tree/collectd" -f -C "$stage/collectd.conf" || true
    for file in "$stage"/csv/host/oracle-east/*; do
        [ -e "$file" ] || continue
        name=${file##*/gauge-}
        # The value of the last reading, and how many there were.
        awk -F, -v name="${name%-????-??-??}" 'NR > 1 { value = $2; n++ } END { print "VALUE", name, value, (n > 1 ? "again" : "once") }' "$file"
    done
}

# "name pattern": what the daemon's output must have. Values were read more than once, by a statement kept.
wanted() {
    cat <<'WANTED'
number VALUE numbers-a 42.500000 again
negative_number VALUE numbers-b -1.000000 again
text_as_number VALUE texts-c 17.250000 again
two_instance_columns VALUE columns-d-e 0.250000 again
catalogue VALUE catalogue-tables 0.000000 again
arithmetic_of_dates VALUE days-f 48.000000 again
wrong_statement query = wrong.*OCIStmtExecute failed: ORA-00942
unknown_database OCILogon("nowhere") failed: ORA-12154
orderly_end Exiting normally
WANTED
}

for column in direct oracle dravik; do
    in_column "$column" run_daemon >"$work/collectd.$column.log" 2>&1
    wanted | while read -r name pattern; do
        if grep -q "$pattern" "$work/collectd.$column.log"; then echo "PASS $name"; else echo "FAIL $name"; fi
    done >"$work/collectd.$column"
done
