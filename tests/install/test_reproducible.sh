#!/bin/sh
# Builds the packages twice, from copies of the tree in different directories and at different times, and compares
# every file: libraries, debug files, tools and packages.
#
#   test_reproducible.sh [all]
#
# all: the embedded backends too, which take longer to build than the rest.
set -eu
targets="dkom dkomx tools/all"
components="runtime;development;tools;debug"
case ${1:-} in
'') ;;
all) targets="$targets sqlite_oci/all" components="$components;embedded" ;;
*) echo "usage: $0 [all]" >&2; exit 2 ;;
esac
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

say() { printf '== %s\n' "$*"; }

SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct)
export SOURCE_DATE_EPOCH
# A cache would give the second build the files of the first.
export CCACHE_DISABLE=1

# One inside its source tree, one outside, in a directory whose name has another length, with another umask.
build() {
    source=$1 build=$2
    mkdir -p "$source"
    (cd "$root" && git ls-files -z | xargs -0 cp --parents -t "$source")
    say "building in $build"
    # shellcheck disable=SC2086 # a list of words
    if ! {
        cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
            -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON -DDKOM_BUILD_TESTS=OFF &&
            cmake --build "$build" --target $targets &&
            (cd "$build" && umask 022 && cpack -G DEB -D "CPACK_COMPONENTS_ALL=$components")
    } >"$work/log" 2>&1; then
        tail -n 30 "$work/log" >&2
        exit 1
    fi
}
build "$work/a/tree" "$work/a/tree/build/package"
umask 077
build "$work/another/place/with/tree" "$work/another/build"

first=$work/a/tree/build/package
second=$work/another/build
status=0
count=0
for file in $(cd "$first" && find bin lib -type f) $(cd "$first" && ls ./*.deb); do
    count=$((count + 1))
    cmp "$first/$file" "$second/$file" || status=1
done
[ "$count" -ge 9 ] || { echo "only $count files are there to compare"; exit 1; }
[ "$status" -eq 0 ] && say "$count files are the same, bit by bit"
exit $status
