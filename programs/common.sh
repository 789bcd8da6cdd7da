# What the scripts of this directory share. Each sets `build` (the build tree) and `work` (a directory of its own).
# shellcheck shell=sh

root=$(cd "$(dirname "$0")/.." && pwd)

fail() {
    printf 'programs: %s\n' "$*" >&2
    exit 1
}

# Fetches the upstream source of a Debian package into $work/sources and prints the file's path. The package
# lists are this directory's own: what the system knows of its packages is left alone.
fetch_source() {
    package=$1
    sources=$work/sources
    mkdir -p "$sources/lists/partial" "$sources/cache/archives/partial"
    found=$(ls "$sources/$package"_*.orig.tar.* 2>/dev/null | head -n 1)
    if [ -z "$found" ]; then
        (
            cd "$sources"
            suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
            mirror=$(sed -n -e 's/^URIs: *//p' -e 's/^deb \(\[[^]]*\] \)\{0,1\}\(http[^ ]*\) .*/\2/p' \
                /etc/apt/sources.list /etc/apt/sources.list.d/debian.sources 2>/dev/null | grep '/debian/\{0,1\}$' | head -n 1)
            keyring=/usr/share/keyrings/debian-archive-keyring.gpg
            echo "deb-src [signed-by=$keyring] ${mirror:-http://deb.debian.org/debian} $suite main" >sources.list
            cat >apt.conf <<CONFIGURATION
Dir::Etc::SourceList "$sources/sources.list";
Dir::Etc::SourceParts "/dev/null";
Dir::State::Lists "$sources/lists";
Dir::Cache "$sources/cache";
CONFIGURATION
            export APT_CONFIG="$sources/apt.conf"
            [ -e lists/lock ] || apt-get update -q >apt.log 2>&1
            apt-get source -q --download-only --tar-only "$package" >>apt.log 2>&1
        ) || {
            tail -n 5 "$sources/apt.log" >&2
            fail "the source of $package could not be fetched"
        }
        found=$(ls "$sources/$package"_*.orig.tar.* | head -n 1)
    fi
    echo "$found"
}

# Runs a command, or a function, with the OCI client library that a column stands for as libclntsh.so, and one database:
#   direct  the embedded client library itself
#   oracle  the extended edition, which finds the database through Oracle's library
#   dravik  the extended edition, which finds it through Dravik's library
in_column() {
    column=$1
    shift
    stage=$(mktemp -d "$work/run.XXXXXX")
    mkdir "$stage/lib" "$stage/oracle" "$stage/dravik"
    case $column in
    direct) client=$build/lib/sqlite/libclntsh.so ;;
    *) client=$build/lib/libdkomx.so ;;
    esac
    ln -s "$client" "$stage/lib/libclntsh.so"
    ln -s libclntsh.so "$stage/lib/libclntsh.so.11.1"
    case $column in
    dravik) : >"$stage/dravik/east.db" ;;
    *) : >"$stage/oracle/east.db" ;;
    esac
    result=0
    (
        export stage LD_LIBRARY_PATH="$stage/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
        export DKOM_ORA_LIB_PATH="$build/lib/sqlite" DKOM_DRK_LIB_PATH="$build/lib/sqlite" DKOM_LOG_PATH="$stage"
        export SQLITE_OCI_CLNTSH_DIR="$stage/oracle" SQLITE_OCI_DKOCI_DIR="$stage/dravik"
        "$@"
    ) || result=$?
    rm -rf "$stage"
    return $result
}

# A directory laid out as programs' configure scripts expect a client to be: libraries and sdk/include, or lib and
# rdbms/public.
client_directory() {
    client_home=$work/client
    mkdir -p "$client_home/sdk" "$client_home/rdbms" "$client_home/lib"
    ln -sfn "$root/include" "$client_home/sdk/include"
    ln -sfn "$root/include" "$client_home/rdbms/public"
    ln -sf "$build/lib/sqlite/libclntsh.so" "$client_home/libclntsh.so"
    ln -sf ../libclntsh.so "$client_home/lib/libclntsh.so"
    ln -sf libclntsh.so "$client_home/libclntsh.so.11.1"
    ln -sf libclntsh.so "$client_home/libnnz11.so"
    echo "$client_home"
}
